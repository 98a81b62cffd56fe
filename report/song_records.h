// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "report/disk_walk.h"
#include "report/figures.h"
#include "report/problems.h"
#include "songdb/gdbm_file.h"

namespace corvexal::report {

// The song store's records held against the songs on the disk. First the store is read, then each file of the
// disk is met, then finish() judges what is left. The cost is a look-up a file, the memory some 40 bytes a
// record.
class SongRecords {
 public:
  // Reads the store, which may be missing. When a run stores songs meanwhile it is read again; when that does
  // not come to an end, no record is judged.
  explicit SongRecords(std::string path);

  void meet(const DiskFile& file, ProblemList& problems);
  void finish(ProblemList& problems);

  [[nodiscard]] StoreState state() const { return state_; }
  [[nodiscard]] std::uint64_t count() const { return records_.size(); }

  // Why the store cannot be read, for StoreState::kUnreadable.
  [[nodiscard]] const std::string& reason() const { return reason_; }

 private:
  struct Record {
    std::uint32_t id;
    std::int32_t size, modified;  // bytes and seconds since 1970, saturated
    bool met;
    std::size_t path_hash;
  };

  bool read();
  void read_records();
  void take(Bytes key, Bytes bytes);
  void index();
  [[nodiscard]] Record* record_of(std::uint32_t id);
  [[nodiscard]] Record* record_at(std::size_t path_hash);
  [[nodiscard]] std::string stored_path(std::uint32_t id) const;
  [[nodiscard]] bool names_the_same_file(std::uint32_t id) const;
  void judge_unmet(const Record& record, ProblemList& problems);

  std::string path_, reason_;
  GdbmFile store_;
  StoreState state_ = StoreState::kMissing;
  std::vector<Record> records_;         // by id
  std::vector<std::uint32_t> by_path_;  // positions in records_ by the path's hash
  std::vector<std::string> damaged_;    // what a damaged record gives for a path
  bool is_sound_ = true;
  bool disk_has_songs_ = false;
};

}  // namespace corvexal::report
