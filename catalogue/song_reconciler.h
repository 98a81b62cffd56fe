// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "catalogue/reconcile.h"
#include "catalogue/session.h"

namespace corvexal {

// The song store's part of a reconciliation. The store is read until the first record has to be written, and
// opened for writing, which makes a copy of it, only then. A preview writes nothing.
class SongReconciler {
 public:
  // `counts` takes what was mended and what failed.
  SongReconciler(Session& session, const ReconcileTask& task, ReconcileCounts& counts)
      : session_(session), task_(task), counts_(counts), refused_before_(session.songs.songs_refused()) {}

  // Before anything else. A store that looks damaged is repaired.
  void open_to_read();

  // True when the store was repaired, or others wrote to it before it was opened for writing or closed.
  [[nodiscard]] bool was_disturbed() const { return was_disturbed_; }

  // What song_store_state said after close().
  [[nodiscard]] std::uint64_t state_when_closed() const { return state_when_closed_; }

  // Writes the record of a file anew where it differs. True when it was, or in a preview would be, written;
  // false for what is no song.
  bool refresh(const std::string& path, const struct stat& status);

  // Removes the records of songs below the task's folders, as `in_scope(path)` tells, whose ids are not
  // `known`, which ascends; of the whole library damaged ones too.
  void remove_stale(std::span<const std::uint32_t> known,
                    const std::function<bool(const std::string& path)>& in_scope);

  // Says on standard error how many songs the store did not take.
  void close();

  // True when the store turned out to be damaged and lost records that had still been counted.
  [[nodiscard]] bool lost_any() const { return lost_any_; }

 private:
  [[nodiscard]] bool can_write();
  void look_for_others();

  Session& session_;
  const ReconcileTask& task_;
  ReconcileCounts& counts_;
  std::uint32_t refused_before_;
  std::uint64_t state_when_opened_ = 0, state_when_closed_ = 0;
  std::set<std::uint32_t> foreseen_;  // ids of records that a preview would have written
  std::optional<bool> open_;          // for writing, once that was tried
  bool was_disturbed_ = false;
  bool lost_any_ = false;
};

}  // namespace corvexal
