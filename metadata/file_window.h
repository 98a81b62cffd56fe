// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/byte_reader.h"
#include "base/file.h"

namespace corvexal {

// A regular file seen through one block of memory: what reading it costs does not depend on the file's size,
// and small steps through the file do not each cost a system call.
class FileWindow {
 public:
  static constexpr std::size_t kSize = 16384;  // bytes

  // Opens the file; on failure the object is empty.
  explicit FileWindow(const std::string& path) : file_(path) {}

  explicit operator bool() const { return static_cast<bool>(file_); }

  // The file, for readers that need no window.
  [[nodiscard]] File& file() { return file_; }

  // Size in bytes when the file was opened. Nothing beyond it is read, so a growing file ends too.
  [[nodiscard]] std::uint64_t file_size() const { return file_.size(); }

  // The `count` bytes, at most kSize, from `offset` on: fewer where the file ends or cannot be read, none
  // after its end. The view holds until the next call.
  [[nodiscard]] Bytes at(std::uint64_t offset, std::size_t count) {
    const std::uint64_t start = offset - block_offset_;
    if (offset < block_offset_ || start > block_size_ || count > block_size_ - start)
      return load(offset, count);
    return Bytes(block_).subspan(static_cast<std::size_t>(start), count);
  }

 private:
  Bytes load(std::uint64_t offset, std::size_t count);

  File file_;
  std::array<std::uint8_t, kSize> block_{};
  std::uint64_t block_offset_ = 0;
  std::size_t block_size_ = 0;
};

}  // namespace corvexal
