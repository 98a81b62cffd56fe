// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalogue/database.h"

namespace corvexal {

// A folder as the catalogue holds it, and what the disk says of it.
struct Folder {
  std::int64_t rowid = 0;     // of its row; 0 without one
  std::uint64_t objid = 0;    // 0 until it has an identifier of its own
  std::uint64_t parent = 0;   // as stored
  std::int64_t level = 0;     // as stored
  bool row_is_spelt = false;  // the row's path ends with "/"
  bool is_visited = false;    // seen on the disk
  bool is_walked = false;     // its entries, too
  bool holds_entries = false;
  bool needs_work = false;  // something in it differs from its rows
};

// Folders by their path with its trailing "/". Pointers to entries stay good.
using Folders = std::unordered_map<std::string, Folder>;
using FolderRef = Folders::value_type;

// Reads path_objid_tbl. Of several rows for one folder the first counts, the ROWIDs of the others go to
// `doubles`. An identifier outside the range, or an earlier row's, counts as none. False when the table
// cannot be read.
[[nodiscard]] bool read_folder_rows(Database& db, Folders& folders, std::vector<std::int64_t>& doubles);

// The path of the folder around a folder, each with its trailing "/"; empty for "/".
[[nodiscard]] std::string_view folder_around(std::string_view folder);

// Writes a folder's row: in place where there is one, else anew with zero flags. Returns SQLite's result
// code.
int write_folder_row(Database& db, const FolderRef& folder, std::uint64_t parent, int level);

}  // namespace corvexal
