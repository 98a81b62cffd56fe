// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <optional>

#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/wanted_key.h"

namespace corvexal {
namespace {

using namespace std::string_view_literals;

// An object:  identifier, 16 bytes | size with this header, 8 bytes | body
// The header: identifier | size | number of objects, 4 bytes | 2 bytes | objects
// Content description: the sizes of five texts, 2 bytes each | the texts: title, author, copyright,
// description, rating
// Extended content description: number, 2 bytes | size, name | type, 2 bytes | size, value | ...
// Sizes of names and values are of 2 bytes, texts UTF-16, all little-endian.
constexpr std::size_t kObjectHeaderSize = 24, kHeaderSize = 30;
constexpr std::string_view kHeaderId = "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv;
constexpr std::string_view kFileProperties =
    "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kStreamProperties =
    "\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kDescription =
    "\x33\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv;
constexpr std::string_view kExtendedDescription =
    "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50"sv;
constexpr std::string_view kAudioStream =
    "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"sv;

constexpr std::size_t kLongestProperties = 256;  // bytes
constexpr std::size_t kLongestName = 64;         // bytes
constexpr int kMostObjects = 10'000;

constexpr std::string_view kWanted[] = {
    "WM/AlbumTitle",     "WM/Composer",      "WM/Year",
    "WM/TrackNumber",    "WM/PartOfSet",     "WM/Genre",
    "WM/BeatsPerMinute", "WM/IsCompilation", "WM/ContentGroupDescription"};

std::string object(std::string_view id, std::string_view body) {
  return std::string(id) + little_endian_bytes(body.size() + kObjectHeaderSize, 8).append(body);
}

std::string counted(std::string_view bytes) {
  return little_endian_bytes(bytes.size(), 2).append(bytes);
}

// The characters of a UTF-16 name, as far as they are ASCII.
std::string ascii_name(std::string_view utf16) {
  std::string name;
  for (std::size_t at = 0; at + 1 < utf16.size() && utf16[at] != 0 && utf16[at + 1] == 0; at += 2)
    name += utf16[at];
  return name;
}

// UTF-16 up to its first zero character.
std::string up_to_zero(std::string text) {
  std::size_t end = 0;
  while (end + 1 < text.size() && (text[end] != 0 || text[end + 1] != 0)) end += 2;
  text.resize(end);
  return text;
}

std::string digest_of_description(FileRange body) {
  const std::string stored = body.read(10);
  std::string sizes, texts;
  for (std::size_t at = 0; at + 1 < stored.size(); at += 2) {
    const std::string text = up_to_zero(body.take(little_endian(stored.substr(at, 2)), kLongestTagText));
    sizes += little_endian_bytes(text.size(), 2);
    texts += text;
  }
  sizes.resize(10);
  return object(kDescription, sizes + texts);
}

std::string digest_of_extended_description(FileRange body) {
  constexpr std::uint64_t kUnicode = 0;
  const std::uint64_t stated = little_endian(body.read(2));
  WantedKeys wanted(kWanted);
  std::string values;
  std::uint32_t count = 0;
  for (std::uint64_t seen = 0; seen < stated && body.left() > 0; ++seen) {
    const std::string name = body.take(little_endian(body.read(2)), kLongestName);
    const std::string type = body.read(2);
    std::string value = body.take(little_endian(body.read(2)), kLongestTagText);
    if (type.size() < 2 || !wanted.take(ascii_name(name))) continue;
    if (little_endian(type) == kUnicode) value = up_to_zero(value);
    values += counted(name) + type + counted(value);
    ++count;
  }
  return object(kExtendedDescription, little_endian_bytes(count, 2) + values);
}

}  // namespace

TagDigest digest_of_asf(FileWindow& file, std::uint64_t offset) {
  FileRange range(file, offset, file.file_size());
  range.skip(16);
  const std::uint64_t size = little_endian(range.read(8));
  range.skip(kHeaderSize - kObjectHeaderSize);
  FileRange objects_left = range.next(size < kHeaderSize ? 0 : size - kHeaderSize);

  std::array<std::string, 4> objects;
  auto& [file_properties, stream_properties, description, extended] = objects;
  for (int count = 0; count < kMostObjects; ++count) {
    const std::string header = objects_left.read(kObjectHeaderSize);
    if (header.size() < kObjectHeaderSize) break;
    const std::string_view id = std::string_view(header).substr(0, 16);
    const std::uint64_t object_size = little_endian(std::string_view(header).substr(16));
    if (object_size < kObjectHeaderSize) break;
    FileRange body = objects_left.next(object_size - kObjectHeaderSize);
    if (id == kFileProperties && file_properties.empty())
      file_properties = object(id, body.read(kLongestProperties));
    else if (id == kStreamProperties && stream_properties.empty() && body.peek(0, 16) == kAudioStream)
      stream_properties = object(id, body.read(kLongestProperties));
    else if (id == kDescription && description.empty())
      description = digest_of_description(body);
    else if (id == kExtendedDescription && extended.empty())
      extended = digest_of_extended_description(body);
  }

  std::string all;
  std::uint32_t count = 0;
  for (const std::string& one : objects) {
    all += one;
    count += one.empty() ? 0 : 1;
  }
  TagDigest digest;
  digest.head = std::string(kHeaderId) + little_endian_bytes(all.size() + kHeaderSize, 8) +
                little_endian_bytes(count, 4) + "\1\2" + all;
  return digest;
}

}  // namespace corvexal
