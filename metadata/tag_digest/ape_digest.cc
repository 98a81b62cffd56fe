// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/ape_digest.h"

#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/wanted_key.h"

namespace corvexal {
namespace {

// A tag:  items | footer
// Footer: "APETAGEX" | version | size of items and footer | number of items | flags | 8 zero bytes
// Item:   size of the value | flags | key, zero byte | value
// Numbers are of 4 bytes, little-endian.
constexpr std::size_t kFooterSize = 32;
constexpr std::size_t kItemHeaderSize = 8;
constexpr std::size_t kLongestKey = 255;
constexpr std::uint32_t kVersion = 2000;
constexpr std::uint64_t kNoText = 0x6;  // in an item's flags: what is not zero here is binary or a link
constexpr int kMostItems = 10'000;

constexpr std::string_view kWanted[] = {"Title", "Artist", "Album",   "Genre",       "Composer", "Track",
                                        "Disc",  "Year",   "Comment", "Compilation", "BPM",      "Grouping"};

std::string read_key(FileRange& items) {
  const std::string start = items.peek(0, kLongestKey + 1);
  std::string key = start.substr(0, start.find('\0'));
  items.skip(key.size() + 1);
  return key;
}

}  // namespace

std::string digest_of_ape_tag(FileWindow& file, std::uint64_t end) {
  if (end < kFooterSize) return {};
  const std::string footer = FileRange(file, end - kFooterSize, end).read(kFooterSize);
  if (!footer.starts_with("APETAGEX")) return {};
  const std::uint64_t size = little_endian(std::string_view(footer).substr(12, 4));
  if (size < kFooterSize || size > end) return {};

  FileRange range(file, end - size, end - kFooterSize);
  WantedKeys wanted(kWanted);
  std::string items;
  std::uint32_t count = 0;
  for (int seen = 0; seen < kMostItems; ++seen) {
    const std::string header = range.read(kItemHeaderSize);
    if (header.size() < kItemHeaderSize) break;
    const std::uint64_t value_size = little_endian(header.substr(0, 4));
    const bool is_text = (little_endian(header.substr(4)) & kNoText) == 0;
    const std::string key = read_key(range);
    if (!is_text || !wanted.take(key)) {
      range.skip(value_size);
      continue;
    }
    const std::string value = utf8_or_disguised(range.take(value_size, kLongestTagText), true);
    items.append(little_endian_bytes(value.size(), 4))
        .append(4, '\0')
        .append(key)
        .append(1, '\0')
        .append(value);
    ++count;
  }
  if (count == 0) return {};
  return items + "APETAGEX" + little_endian_bytes(kVersion, 4) +
         little_endian_bytes(items.size() + kFooterSize, 4) + little_endian_bytes(count, 4) +
         std::string(12, '\0');
}

}  // namespace corvexal
