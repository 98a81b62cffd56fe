// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/descriptor.h"
#include "watch/change_source.h"
#include "watch/gatherer.h"
#include "watch/mounts.h"
#include "watch/sync_command.h"

namespace corvexal {

struct WatchOptions {
  std::optional<SourceKind> source;  // else fanotify where it works, inotify where it does not
  Clock::duration quiet_time = std::chrono::seconds{2};
  std::optional<Clock::duration> full_sync_every;
};

// Follows a share and starts the sync for what changes on it. Between two batches it only waits: without a
// lock, a connection or a timer, unless a full sync is wanted every so often or something is to be tried
// again.
class Watcher {
 public:
  // `configured_share` gives the folder to watch, at the start and after each SIGHUP; empty when there is
  // none.
  Watcher(WatchOptions options, std::function<std::string()> configured_share);

  // Watches until SIGTERM or SIGINT, which end it and a sync that runs, with 0. Returns 1, after a line on
  // standard error, when there is nothing to watch or nothing to watch it by. REQUIRES: a process of one
  // thread that has no other use for SIGHUP, SIGCHLD and SIGIO.
  int run();

 private:
  // What a share needs anew when it changes.
  struct Followed {
    Followed(const std::string& folder, Clock::duration quiet_time)
        : share(folder), gatherer(share.folder(), quiet_time) {}
    Share share;
    Gatherer gatherer;
  };

  void read_configuration();
  void open_source();
  OpenedSource open_some_source();
  void open_later(const std::string& trouble);
  void watch_by_full_syncs(const std::string& trouble);
  void close_source(const std::string& trouble);
  void start_sync();
  void sync_failed(const std::string& trouble);
  void do_what_is_due();
  void wait();
  [[nodiscard]] std::optional<Clock::time_point> next_deadline() const;
  void handle_signals();
  void handle_end_of_sync();
  void handle_changes();
  void handle_mounts();
  [[nodiscard]] bool is_following() const { return source_ || has_too_many_folders_; }
  [[nodiscard]] bool is_unmounted() const;

  WatchOptions options_;
  std::function<std::string()> configured_share_;
  Descriptor signals_;
  MountTable mount_table_;
  SyncCommand sync_;
  std::optional<int> result_;  // of run()

  std::optional<Followed> followed_;
  std::unique_ptr<ChangeSource>
      source_;  // null while it cannot be opened, and when full syncs take its place
  bool has_too_many_folders_ = false;
  FolderMounts mounts_;      // of the share, as the source found them
  std::string mount_point_;  // of the disk that the share is on
  Batch running_;            // what the sync was started for

  std::optional<Clock::time_point> next_open_, next_full_sync_;
  Clock::duration open_pause_{};
};

}  // namespace corvexal
