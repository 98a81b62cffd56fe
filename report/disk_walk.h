// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/folder_entries.h"
#include "catalogue/media_types.h"

namespace corvexal::report {

// A media file as the disk has it. The views last until the walk's next step.
struct DiskFile {
  std::string_view folder;  // with its trailing "/"
  std::string_view name;
  MediaKind kind = MediaKind::kOther;
  std::uint64_t size = 0;
  std::time_t modified = 0;
  std::uint32_t id = 0;  // the low 32 bits of its inode number

  [[nodiscard]] std::string path() const { return std::string(folder) += name; }
};

// Goes through the media files below a share that a scan sees: hidden entries, links, paths of 512 bytes and
// what is no media file by its extension are passed over. The order is that of the bytes of the folder's path
// (its trailing "/" included), then of the name, which is how SQLite sorts the rows.
class DiskWalk {
 public:
  // `share` with its trailing "/".
  explicit DiskWalk(std::string share) : pending_{std::move(share)} {}

  // Moves to the next file; false at the end. A folder that cannot be read is said on standard error.
  [[nodiscard]] bool next();
  [[nodiscard]] const DiskFile& file() const { return file_; }

  // How many folders or entries could not be read so far.
  [[nodiscard]] std::size_t unreadable() const { return unreadable_; }

 private:
  bool open_next_folder();
  void close_folder();
  [[nodiscard]] bool take(std::string_view name);

  std::vector<std::string> pending_;  // the next one last
  std::string folder_;
  std::optional<FolderEntries> entries_;
  std::size_t at_ = 0;
  std::vector<std::string> sub_folders_;
  DiskFile file_;
  std::size_t unreadable_ = 0;
};

}  // namespace corvexal::report
