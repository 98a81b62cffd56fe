// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/record.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <iterator>
#include <new>
#include <string_view>

#include "base/log.h"
#include "metadata/composite_tags.h"

namespace corvexal {
namespace {

// One record; every number has 32 bits in host byte order.
//
//     0  version, 8                  72  thirteen text lengths, in the order of kStoredTexts,
//     4  header size, 128                each counting its NUL (an absent text is one NUL)
//     8  fourteen numbers, in       124  the thirteen texts, back to back, each with its NUL
//        the order of                 +  a zero word
//        kStoredNumbers
//    64  compilation, one byte
//    65  three zero bytes
//    68  id
constexpr std::size_t kHeaderSizeAt = 4;
constexpr std::size_t kNumbersAt = 8;
constexpr std::size_t kCompilationAt = 64;
constexpr std::size_t kIdAt = 68;
constexpr std::size_t kLengthsAt = 72;
constexpr std::size_t kTextsAt = 124;
constexpr std::uint32_t kHeaderSize = 128;  // counts the zero word at the end
constexpr std::size_t kWord = 4;

// The server looks for the path four bytes further on than where it is written, and compares paths in that
// shortened form only.
constexpr std::size_t kPathReadAt = kTextsAt + 4;

static_assert(kNumbersAt + std::size(kStoredNumbers) * kWord == kCompilationAt);
static_assert(kLengthsAt + std::size(kStoredTexts) * kWord == kTextsAt);
static_assert(kTextsAt + kWord == kHeaderSize);

using TextViews = std::array<std::string_view, std::size(kStoredTexts)>;

TextViews texts_of(const SongInfo& song) {
  TextViews texts;
  std::transform(std::begin(kStoredTexts), std::end(kStoredTexts), texts.begin(),
                 [&song](const NamedText& known) {
                   const Text& text = song.*known.field;
                   return text ? std::string_view(text->c_str()) : std::string_view();
                 });
  return texts;
}

template <class Number>
void put(PackedSong& record, std::size_t at, Number value) {
  std::memcpy(record.data() + at, &value, sizeof value);
}

// The number at an offset; 0 when it does not lie inside the record.
template <class Number>
Number number_at(Bytes record, std::size_t at) {
  Number value = 0;
  if (at + sizeof value <= record.size()) std::memcpy(&value, record.data() + at, sizeof value);
  return value;
}

std::uint32_t text_length(Bytes record, std::size_t index) {
  return number_at<std::uint32_t>(record, kLengthsAt + index * kWord);
}

// The text from an offset to its NUL; absent when it does not end inside the record.
Text text_at(Bytes record, std::uint64_t at) {
  const Bytes rest = record.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(at, record.size())));
  const std::string_view text(reinterpret_cast<const char*>(rest.data()), rest.size());
  const std::size_t end = text.find('\0');
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(text.substr(0, end));
}

PackedSong packed(const SongInfo& song, const TextViews& texts, std::size_t size) {
  PackedSong record(size);
  put(record, 0, kRecordVersion);
  put(record, kHeaderSizeAt, kHeaderSize);
  for (std::size_t i = 0; i < std::size(kStoredNumbers); ++i)
    put(record, kNumbersAt + i * kWord, song.*kStoredNumbers[i].field);
  put(record, kCompilationAt, song.compilation);
  put(record, kIdAt, song.id);
  std::size_t at = kTextsAt;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    put(record, kLengthsAt + i * kWord, static_cast<std::uint32_t>(texts[i].size() + 1));
    std::copy(texts[i].begin(), texts[i].end(), record.data() + at);
    at += texts[i].size() + 1;
  }
  return record;
}

}  // namespace

std::optional<PackedSong> pack_song(const SongInfo& song) {
  const TextViews texts = texts_of(song);
  std::uint64_t size = kHeaderSize;
  for (const std::string_view text : texts) size += text.size() + 1;
  if (size > INT_MAX) return std::nullopt;
  try {
    return packed(song, texts, static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

int unpack_song(Bytes record, SongInfo& song) {
  if (record_version(record) != kRecordVersion)
    log_printf("ON-DISK DATABASE VERSION HAS CHANGED\nDelete your songs.gdb and restart.\n");
  read_stored_song(record, song);
  song.path = shortened_path(record);
  make_composite_tags(song);
  return 0;
}

void read_stored_song(Bytes record, SongInfo& song) {
  song = SongInfo{};
  for (std::size_t i = 0; i < std::size(kStoredNumbers); ++i)
    song.*kStoredNumbers[i].field = number_at<std::int32_t>(record, kNumbersAt + i * kWord);
  song.compilation = number_at<std::uint8_t>(record, kCompilationAt);
  song.id = record_id(record);
  std::uint64_t at = kTextsAt;
  for (std::size_t i = 0; i < std::size(kStoredTexts); ++i) {
    const std::uint32_t length = text_length(record, i);
    if (length > 1) song.*kStoredTexts[i].field = text_at(record, at);
    at += length;
  }
}

Text shortened_path(Bytes record) {
  return text_length(record, 0) > 1 ? text_at(record, kPathReadAt) : std::nullopt;
}

std::uint32_t record_version(Bytes record) {
  return number_at<std::uint32_t>(record, 0);
}

std::uint32_t record_id(Bytes record) {
  return number_at<std::uint32_t>(record, kIdAt);
}

bool is_whole_record(Bytes record) {
  std::uint64_t size = kHeaderSize;
  for (std::size_t i = 0; i < std::size(kStoredTexts); ++i) size += text_length(record, i);
  return record_version(record) == kRecordVersion && size == record.size();
}

}  // namespace corvexal
