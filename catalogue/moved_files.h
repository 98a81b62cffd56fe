// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
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
// or none: of two likely candidates neither is taken. Of the gone rows, which may be all of a library, hashes
// are kept: the rows themselves are read again from the catalogue, and must stay in it meanwhile.
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
    for (const auto& [path, at] : source_)
      if (const auto row = row_at(at)) visit(*row, std::string_view(path).substr(0, path.rfind('/') + 1));
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
  // Gone rows by a hash, so that what they hold need not be kept; a hash may be another text's, too.
  class Marks {
   public:
    using Mark = std::pair<std::size_t, std::uint32_t>;  // the hash, the gone row

    void add(const std::string& text, std::uint32_t gone);
    void sort();
    // The marks that may have been added with the text, in their order; to be asked after sort().
    [[nodiscard]] std::span<const Mark> of(const std::string& text) const;

   private:
    std::vector<Mark> marks_;
  };
  struct Alike {
    std::size_t files = 0;
    std::string path;  // of the last one
  };

  [[nodiscard]] std::optional<GoneRow> row_at(std::uint32_t gone) const;
  [[nodiscard]] std::optional<std::uint32_t> recorded_at(MediaClass media_class,
                                                         const std::string& path) const;
  [[nodiscard]] std::optional<std::uint32_t> only_one_with(const std::string& facts) const;
  void take(std::uint32_t gone, std::string path);

  Database* db_;
  std::deque<Gone> gone_;
  Marks by_path_, by_facts_;
  bool is_sorted_ = false;
  std::unordered_map<std::string, Alike> alike_;           // new files by their class and facts
  std::unordered_map<std::string, std::uint32_t> source_;  // by new path
};

}  // namespace corvexal
