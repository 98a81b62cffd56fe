// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/file_window.h"

#include <algorithm>

namespace corvexal {

Bytes FileWindow::load(std::uint64_t offset, std::size_t count) {
  if (offset >= file_size()) return {};
  const std::uint64_t left_in_file = file_size() - offset;
  count = static_cast<std::size_t>(std::min<std::uint64_t>({count, kSize, left_in_file}));

  const bool held = offset >= block_offset_ && offset - block_offset_ <= block_size_ &&
                    count <= block_size_ - (offset - block_offset_);
  if (!held) {
    block_offset_ = offset;
    block_size_ = file_.read_at(
        offset,
        std::span(block_).first(static_cast<std::size_t>(std::min<std::uint64_t>(kSize, left_in_file))));
  }
  const auto start = static_cast<std::size_t>(offset - block_offset_);
  return Bytes(block_).subspan(start, std::min(count, block_size_ - start));
}

}  // namespace corvexal
