// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "metadata/song_info.h"

namespace corvexal::testing {

// What disk and stores hold at one moment, read without any of the code that brings them in line.
struct StorePicture {
  struct MediaRow {
    std::string table, number, objid, parent, depth, size, date, songs;
  };
  struct FolderRow {
    std::string objid, parent, level;
  };
  using File = struct stat;

  std::string share;                          // without a trailing "/"
  std::map<std::string, File> files;          // that must have a row, by path
  std::map<std::string, std::string> tables;  // of these
  std::map<std::string, bool> folders;        // that a scan sees, with "/": whether they must have a row
  std::size_t refused = 0;                    // files and folders with a `"` that it meets
  std::map<std::string, MediaRow> rows;       // by path
  std::map<std::string, FolderRow> folder_rows;
  std::map<std::uint32_t, SongInfo> songs;
  std::vector<std::string> complaints;  // about what is not in line
};

// Looks at the share and at the stores below the mount path, and complains of all that does not fit.
[[nodiscard]] StorePicture look_at_stores(const std::string& share, const std::string& mount_path);

}  // namespace corvexal::testing
