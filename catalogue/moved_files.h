// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalogue/media_types.h"

namespace corvexal {

// A row whose file is no longer where the row says.
struct GoneRow {
  MediaClass media_class;
  std::int64_t rowid;
  std::string folder, name;  // as on disk
  std::string size, date;    // as stored
};

// Finds out which new files are those of gone rows, moved or renamed while nobody looked. A match is certain
// or none: of two likely candidates neither is taken.
class MovedFiles {
 public:
  void add_gone(GoneRow row);
  [[nodiscard]] bool has_gone_rows() const { return !gone_.empty(); }

  // Shows a new file. `recorded_path` is the path under which the song store knows a song of the same inode
  // number, size and date.
  void add_new(MediaClass media_class, const std::string& folder, std::string_view name,
               const std::string& size, const std::string& date,
               const std::optional<std::string>& recorded_path);

  // To be called once after the last of both.
  void match();

  // The gone row of a new file that was moved; null for any other.
  [[nodiscard]] const GoneRow* source_of(const std::string& path) const;

  // Calls visit(gone row, its new folder) for each moved file.
  template <class Visit>
  void each_move(Visit visit) const {
    for (const auto& [path, at] : source_)
      visit(gone_[at], std::string_view(path).substr(0, path.rfind('/') + 1));
  }

  // Calls visit(gone row) for each row whose file has not been found again.
  template <class Visit>
  void each_lost(Visit visit) const {
    for (std::size_t at = 0; at < gone_.size(); ++at)
      if (!is_taken_[at]) visit(gone_[at]);
  }

 private:
  // Gone rows and new files that agree in class, name, size and date.
  struct Alike {
    std::size_t gone = 0, rows = 0, files = 0;
    std::string path;  // of the last file
  };
  static std::string facts(MediaClass media_class, std::string_view name, const std::string& size,
                           const std::string& date);
  void take(std::size_t gone, std::string path);

  std::vector<GoneRow> gone_;
  std::vector<bool> is_taken_;
  std::unordered_map<std::string, std::size_t> by_path_;
  std::unordered_map<std::string, Alike> alike_;
  std::unordered_map<std::string, std::size_t> source_;  // by new path
};

}  // namespace corvexal
