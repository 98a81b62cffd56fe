// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>

#include "metadata/image_readers.h"

namespace corvexal {
namespace {

// After the signature of 8 bytes, chunks: 0 length of the data | 4 type | 8 data | the data's CRC.
// IHDR's data: 0 width | 4 height | 8 bit depth | 9 colour type.
constexpr std::uint64_t kFirstChunkAt = 8;
constexpr std::size_t kChunkHead = 8, kCrcSize = 4;
constexpr std::array<std::uint8_t, 4> kIhdr = {'I', 'H', 'D', 'R'}, kIend = {'I', 'E', 'N', 'D'};

struct PngDepth {
  std::uint8_t colour_type, bit_depth;
  std::int32_t color_depth;  // bits per pixel
};
constexpr PngDepth kPngDepths[] = {
    {2, 8, 24}, {2, 16, 48},  // RGB
    {4, 8, 16}, {4, 16, 32},  // grey with alpha
    {6, 8, 32}, {6, 16, 48},  // RGB with alpha: 48 and not 64, which clients of the catalogue rely on
};

void parse_depth(std::uint8_t bit_depth, std::uint8_t colour_type, ImageProbe& probe) {
  const bool one_sample = colour_type == 0 || colour_type == 3;  // grey, palette
  if (one_sample) probe.color_depth = bit_depth;
  for (const PngDepth& row : kPngDepths)
    if (row.colour_type == colour_type && row.bit_depth == bit_depth) probe.color_depth = row.color_depth;
}

void parse_ihdr(FileWindow& file, std::uint64_t at, ImageProbe& probe) {
  parse_number(file, at, 4, std::endian::big, probe.width);
  parse_number(file, at + 4, 4, std::endian::big, probe.height);
  if (const Bytes depth = file.at(at + 8, 2); depth.size() == 2) parse_depth(depth[0], depth[1], probe);
}

}  // namespace

void read_png(FileWindow& file, ImageProbe& probe) {
  std::uint64_t at = kFirstChunkAt;
  for (;;) {
    const Bytes head = file.at(at, kChunkHead);
    if (head.size() < kChunkHead) return;
    const Bytes type = head.subspan(4);
    at += kChunkHead;
    if (std::ranges::equal(type, kIhdr)) return parse_ihdr(file, at, probe);
    if (std::ranges::equal(type, kIend)) return;
    at += number(head.first(4), std::endian::big) + kCrcSize;
    const bool is_zero =
        number(head, std::endian::big) == 0;  // an empty chunk as well, and so is each of a hole
    if (is_zero) at = file.file().last_in_hole(at, kChunkHead, kChunkHead + kCrcSize);
  }
}

}  // namespace corvexal
