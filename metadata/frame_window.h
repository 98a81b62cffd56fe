// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "metadata/file_window.h"
#include "metadata/mp3_header.h"

namespace corvexal {

// Where frames are looked for: `size` bytes of a file, and what lies after them as far as a frame that begins
// in them can reach.
template <std::size_t size>
class FrameWindow {
 public:
  static constexpr std::size_t kSize = size;

  explicit FrameWindow(FileWindow& file) : file_(file) {}

  // Moves to `offset`. False when the file does not hold all of the window. What header() and bytes() gave
  // before is gone.
  bool read(std::uint64_t offset) {
    offset_ = offset;
    bytes_ = file_.at(offset, size + kMp3LongestFrame + kMp3HeaderSize - 1);
    return bytes_.size() >= size;
  }

  [[nodiscard]] FileWindow& file() { return file_; }
  [[nodiscard]] std::uint64_t offset() const { return offset_; }
  [[nodiscard]] Bytes bytes() const { return bytes_.first(size); }

  // The index of the first valid header from `index` on that begins before or at `last` and lies in bytes().
  [[nodiscard]] std::optional<std::size_t> next_header(std::size_t index, std::size_t last) const {
    return next_mp3_header(bytes(), index, last);
  }

  // The four bytes at an index that a frame beginning in bytes() can reach; absent where they cannot be read.
  [[nodiscard]] std::optional<Mp3HeaderBytes> header(std::size_t index) const {
    if (index + kMp3HeaderSize > bytes_.size()) return std::nullopt;
    return bytes_.subspan(index).first<kMp3HeaderSize>();
  }

 private:
  FileWindow& file_;
  std::uint64_t offset_ = 0;
  Bytes bytes_;
};

}  // namespace corvexal
