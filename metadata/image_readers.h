// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "metadata/file_window.h"
#include "metadata/image_size.h"

// One reader a format. Each sets the fields of the probe that the file's headers give and leaves the others.

namespace corvexal {

void read_bmp(FileWindow& file, ImageProbe& probe);
void read_gif(FileWindow& file, ImageProbe& probe);
void read_jpeg(FileWindow& file, ImageProbe& probe);
void read_png(FileWindow& file, ImageProbe& probe);
void read_tiff(FileWindow& file, ImageProbe& probe);

// The unsigned number that the bytes spell: its low 64 bits.
[[nodiscard]] inline std::uint64_t number(Bytes bytes, std::endian order) {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    sum = sum << 8 | bytes[order == std::endian::big ? i : bytes.size() - 1 - i];
  return sum;
}

// A number as a probe's field keeps it: at most the largest that fits.
[[nodiscard]] inline std::int32_t as_field(std::uint64_t value) {
  return static_cast<std::int32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::int32_t>::max()));
}

// Sets `field` to the number of `size` bytes at `offset`, when all of them are in the file.
inline void parse_number(FileWindow& file, std::uint64_t offset, std::size_t size, std::endian order,
                         std::int32_t& field) {
  const Bytes bytes = file.at(offset, size);
  if (bytes.size() == size) field = as_field(number(bytes, order));
}

}  // namespace corvexal
