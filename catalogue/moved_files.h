// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "catalogue/database.h"
#include "catalogue/media_types.h"

namespace corvexal {

// What tells files apart, as rows store it.
struct FileFacts {
  std::string name, size, date;
};

// A row whose file is no longer where the row says.
struct GoneRow {
  MediaClass media_class;
  std::int64_t rowid;
  std::string folder;  // as on disk
  FileFacts facts;
};

// Finds out which new files are those of gone rows, moved or renamed while nobody looked. A match is certain
// or none: of two likely candidates neither is taken. Of both, which may be all of a library, digests are
// kept, which are no protection against who forges a name: the rows themselves are read again from the
// catalogue, and must stay in it meanwhile.
class MovedFiles {
 public:
  explicit MovedFiles(Database& db) : db_(&db) {}

  void add_gone(const GoneRow& row);
  [[nodiscard]] bool has_gone_rows() const { return !gone_.empty(); }

  // Shows a new file, after the last gone row. `recorded_path` is the path under which the song store knows a
  // song of the same inode number, size and date.
  void add_new(MediaClass media_class, const std::string& folder, const FileFacts& facts,
               const std::optional<std::string>& recorded_path);

  // To be called once after the last new file.
  void match();

  // The gone row of a new file that was moved; nothing for any other.
  [[nodiscard]] std::optional<GoneRow> source_of(const std::string& path) const;

  // Calls visit(gone row, its new folder) for each moved file.
  template <class Visit>
  void each_move(Visit visit) const {
    for (const Moved& moved : moved_)
      if (const auto row = row_at(moved.gone)) visit(*row, std::string_view(folders_[moved.folder]));
  }

  // Calls visit(gone row) for each row whose file has not been found again; it may delete the row.
  template <class Visit>
  void each_lost(Visit visit) const {
    for (std::uint32_t at = 0; at < gone_.size(); ++at)
      if (const auto row = gone_[at].is_taken ? std::nullopt : row_at(at)) visit(*row);
  }

 private:
  struct Gone {
    std::int64_t rowid;
    MediaClass media_class;
    bool is_taken;
  };
  struct Mark {
    std::uint64_t digest;  // of a path or of facts
    std::uint32_t gone;

    bool operator<(const Mark& other) const {
      return std::tie(digest, gone) < std::tie(other.digest, other.gone);
    }
  };
  using Marks = std::deque<Mark>;
  struct NewFile {
    std::uint64_t facts, path;  // digests
    std::uint32_t folder;

    bool operator<(const NewFile& other) const {
      return std::tie(facts, path) < std::tie(other.facts, other.path);
    }
  };
  struct Moved {
    std::uint64_t path;  // digest of the new one
    std::uint32_t gone, folder;

    bool operator<(const Moved& other) const { return path < other.path; }
  };

  [[nodiscard]] std::optional<GoneRow> row_at(std::uint32_t gone) const;
  [[nodiscard]] static std::pair<Marks::const_iterator, Marks::const_iterator> marks_with(
      const Marks& marks, std::uint64_t digest);
  [[nodiscard]] std::optional<std::uint32_t> first_recorded_at(std::uint64_t path) const;
  [[nodiscard]] std::optional<std::uint32_t> only_one_with(std::uint64_t facts) const;
  void take(std::uint32_t gone, std::uint64_t path, std::uint32_t folder);

  Database* db_;
  std::deque<Gone> gone_;
  Marks by_path_, by_facts_;  // of the gone rows, sorted once a new file is shown
  bool is_sorted_ = false;
  std::deque<NewFile> new_files_;     // that may be moved ones
  std::vector<std::string> folders_;  // of the new files
  std::deque<Moved> moved_;           // sorted by match()
};

}  // namespace corvexal
