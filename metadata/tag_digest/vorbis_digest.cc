// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/vorbis_digest.h"

#include <algorithm>

#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/wanted_key.h"

namespace corvexal {
namespace {

// A comment header: size, vendor | number of fields | size, "KEY=value" | ...
// Numbers are of 4 bytes, little-endian.
constexpr std::size_t kLongestKey = 32;  // with its "="
constexpr int kMostFields = 10'000;

constexpr std::string_view kWanted[] = {
    "TITLE",      "ARTIST",      "ALBUM",       "GENRE",       "COMPOSER",   "TRACKNUMBER",
    "TRACKTOTAL", "TOTALTRACKS", "DISCNUMBER",  "DISCTOTAL",   "TOTALDISCS", "DATE",
    "YEAR",       "COMMENT",     "DESCRIPTION", "COMPILATION", "BPM",        "GROUPING"};

}  // namespace

std::string digest_of_vorbis_comment(ByteSource& source) {
  source.skip(little_endian(source.read(4)));
  const auto stated = little_endian(source.read(4));
  WantedKeys wanted(kWanted);
  std::string fields;
  std::uint32_t count = 0;
  for (std::uint64_t seen = 0; seen < std::min<std::uint64_t>(stated, kMostFields); ++seen) {
    const std::string length = source.read(4);
    if (length.size() < 4) break;
    const std::uint64_t size = little_endian(length);
    std::string start = source.take(std::min<std::uint64_t>(size, kLongestKey), kLongestKey);
    const std::uint64_t left = size - std::min<std::uint64_t>(size, kLongestKey);
    const std::size_t separator = start.find('=');
    if (separator == std::string::npos || !wanted.take(start.substr(0, separator))) {
      source.skip(left);
      continue;
    }
    const std::string value = start.substr(separator + 1) + source.take(left, kLongestTagText);
    const std::string field = start.substr(0, separator + 1) + utf8_or_disguised(value, true);
    if (fields.size() + field.size() > kLargestComment - 64) continue;
    fields += little_endian_bytes(field.size(), 4) + field;
    ++count;
  }
  return little_endian_bytes(0, 4) + little_endian_bytes(count, 4) + fields;
}

}  // namespace corvexal
