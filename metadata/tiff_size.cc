// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <optional>

#include "metadata/image_readers.h"

namespace corvexal {
namespace {

// Header: 0 byte order, "II" or "MM" | 2 version | 4 offset of the first directory.
// Directory: 0 number of entries | 2 the entries, 12 bytes each.
// Entry: 0 tag | 2 field type | 4 count | 8 value, or the values' offset where they need more than 4 bytes.
constexpr std::size_t kHeaderSize = 8, kCountSize = 2, kEntrySize = 12;
constexpr std::uint16_t kImageWidth = 256, kImageLength = 257, kBitsPerSample = 258;
constexpr int kWantedTags = 3;

constexpr std::size_t kTypeSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};  // bytes, by field type

struct Entry {
  std::uint64_t tag = 0;
  std::size_t element_size = 0;
  std::uint64_t count = 0;
  std::uint64_t value = 0;
};

Entry decode(Bytes bytes, std::endian order) {
  const Bytes field = bytes.subspan(8, 4);
  const std::uint64_t type = number(bytes.subspan(2, 2), order);
  Entry entry;
  entry.tag = number(bytes.first(2), order);
  entry.element_size = type < std::size(kTypeSizes) ? kTypeSizes[type] : 0;
  entry.count = number(bytes.subspan(4, 4), order);
  if (order == std::endian::little || entry.count == 3)
    entry.value = number(field, order);
  else if (entry.count == 1)
    entry.value = number(field.first(std::min(entry.element_size, field.size())), order);
  return entry;
}

// Adds the three samples that a BitsPerSample entry points to, as far as the file goes. Clients of the
// catalogue rely on big-endian samples being read without their first byte.
void add_samples(FileWindow& file, const Entry& entry, std::endian order, ImageProbe& probe) {
  std::int64_t sum = probe.color_depth;
  for (std::uint64_t i = 0; i < 3; ++i) {
    Bytes sample = file.at(entry.value + i * entry.element_size, entry.element_size);
    if (sample.size() < entry.element_size) break;
    if (order == std::endian::big && !sample.empty()) sample = sample.subspan(1);
    sum += as_field(number(sample, order));
  }
  probe.color_depth = as_field(static_cast<std::uint64_t>(sum));
}

}  // namespace

void read_tiff(FileWindow& file, ImageProbe& probe) {
  const Bytes header = file.at(0, kHeaderSize);
  if (header.size() < kHeaderSize) return;
  const std::endian order = header[0] == 'M' && header[1] == 'M' ? std::endian::big : std::endian::little;
  std::uint64_t at = number(header.subspan(4), order);

  const Bytes count = file.at(at, kCountSize);
  if (count.size() < kCountSize) return;
  std::uint64_t entries = number(count, order);
  at += kCountSize;

  std::optional<Entry> samples;  // read after the directory, which is then one pass through the file
  for (int found = 0; entries > 0 && found < kWantedTags; --entries, at += kEntrySize) {
    const Bytes bytes = file.at(at, kEntrySize);
    if (bytes.size() < kEntrySize) break;
    const Entry entry = decode(bytes, order);
    if (entry.tag < kImageWidth || entry.tag > kBitsPerSample) continue;
    ++found;
    if (entry.tag == kImageWidth) probe.width = as_field(entry.value);
    if (entry.tag == kImageLength) probe.height = as_field(entry.value);
    if (entry.tag == kBitsPerSample && entry.count == 1) probe.color_depth = as_field(entry.value);
    if (entry.tag == kBitsPerSample && entry.count == 3) samples = entry;
  }
  if (samples) add_samples(file, *samples, order, probe);
}

}  // namespace corvexal
