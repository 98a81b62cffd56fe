// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "watch/batch.h"
#include "watch/change.h"
#include "watch/file_in_use.h"

namespace corvexal {

// The clock that no change of the date moves.
using Clock = std::chrono::steady_clock;

// Gathers changes into batches. A batch is due when it has been quiet for a while, or half a minute after its
// first change. A new file is no change before it is closed. The time is handed in, so there is no clock
// here.
class Gatherer {
 public:
  static constexpr std::chrono::seconds kLongest{30};  // from the first change to the batch
  static constexpr std::chrono::seconds kFirstPause{60};
  static constexpr std::chrono::hours kLongestPause{1};
  static constexpr std::size_t kMostRenames = 64, kMostNewFiles = 64;

  // Changes are those of the share `top`.
  Gatherer(std::string top, Clock::duration quiet_time,
           std::function<FileState(const std::string&)> look = file_state);

  void add(const DiskChange& change, Clock::time_point now);

  // Asks for the whole share, due at once.
  void add_everything(Clock::time_point now);

  // When to take the next batch; nothing when there is nothing to wait for.
  [[nodiscard]] std::optional<Clock::time_point> due() const;

  // The batch of all that was gathered. It is empty when there are only files that are still being written;
  // they come again with their close.
  [[nodiscard]] Batch take(Clock::time_point now);

  // The sync of a batch has succeeded, or has failed: then its folders come again with the next change or
  // after a pause, which grows from failure to failure. Returns the pause.
  void succeeded();
  Clock::duration failed(const Batch& batch, Clock::time_point now);

 private:
  struct NewFile {
    std::string path;
    bool was_moved;  // and so is complete unless its file system says otherwise
    Clock::time_point since;
  };

  void add_new_file(const DiskChange& change, Clock::time_point now);
  std::vector<NewFile>::iterator find_new_file(std::string_view path);
  bool forget_unseen(std::string_view path);
  void rename(const DiskChange& change);
  void settle_new_files(Clock::time_point now);
  bool is_settled(const NewFile& file, Clock::time_point now);

  std::string top_;
  Clock::duration quiet_time_;
  std::function<FileState(const std::string&)> look_;

  FolderSet folders_;
  std::vector<Rename> renames_;
  std::vector<NewFile> new_files_;
  std::optional<Clock::time_point> first_, last_;  // change of the batch
  std::optional<Clock::time_point> again_;  // when to look at new files, or to try a failed batch again
  Clock::duration pause_ = kFirstPause;
};

}  // namespace corvexal
