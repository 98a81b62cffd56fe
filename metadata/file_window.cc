// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/file_window.h"

#include <algorithm>

namespace corvexal {

Bytes FileWindow::load(std::uint64_t offset, std::size_t count) {
  offset = std::min(offset, file_size());
  count = static_cast<std::size_t>(std::min<std::uint64_t>({count, kSize, file_size() - offset}));
  const bool held = offset >= block_offset_ && offset + count <= block_offset_ + block_size_;
  if (!held) {
    block_offset_ = offset;
    block_size_ = file_.read_at(offset, block_);
  }
  const auto start = static_cast<std::size_t>(offset - block_offset_);
  return Bytes(block_).subspan(start, std::min(count, block_size_ - start));
}

}  // namespace corvexal
