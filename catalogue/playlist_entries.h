// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/file.h"

namespace corvexal {

// How a playlist writes an entry: as the line after "#EXTINF:", as a line of its own, or as "File1=…".
enum class EntryForm { kExtendedM3u, kPlainM3u, kPls };

// Takes one entry; false ends the reading.
using TakeEntry = std::function<bool(const std::string& entry, EntryForm form)>;

// A playlist file, read once in either format. An entry is what the file says, its line end and any folders
// before a backslash taken off. Lines count in pieces of 511 characters; memory does not grow with the file.
class PlaylistFile {
 public:
  explicit PlaylistFile(const std::string& path) : file_(path) {}

  // False when there is no regular file that can be opened.
  explicit operator bool() const { return static_cast<bool>(file_); }

  // Of an M3U file the lines after "#EXTINF:", and those that hold ".mp3" or ".MP3" and no backslash.
  void read_m3u(const TakeEntry& take);

  // Of a PLS file what the keys that begin with "File" name, which may be empty.
  void read_pls(const TakeEntry& take);

 private:
  bool next_line(std::string_view& line);
  void pass_over_hole();

  static constexpr std::size_t kLongestPiece = 511;

  File file_;
  std::array<std::uint8_t, 32 * (kLongestPiece + 1)> window_{};
  std::uint64_t offset_ = 0;      // of the window in the file
  std::size_t at_ = 0, end_ = 0;  // what the window holds unread
};

}  // namespace corvexal
