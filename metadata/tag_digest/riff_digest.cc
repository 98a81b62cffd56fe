// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/id3_digest.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/wanted_key.h"

namespace corvexal {
namespace {

// A file:  "RIFF" (numbers little-endian) or "FORM" (big-endian) | size | type | chunks
// A chunk: name | size, 4 bytes | body | a zero byte when the size is odd
// A LIST chunk of type INFO holds chunks again: the texts of a WAV file.
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kLongestFacts = 64;  // bytes of a chunk of facts about the sound
constexpr int kMostChunks = 10'000;

// The texts of an AIFF file itself, which may have an ID3v2 tag besides.
struct TextChunk {
  std::string_view name;
  const char* field;
};
constexpr TextChunk kTextChunks[] = {{"NAME", "TITLE"}, {"AUTH", "ARTIST"}, {"ANNO", "COMMENT"}};

constexpr std::string_view kWantedInfo[] = {"INAM", "IART", "IPRD", "IGNR", "ICMT", "ICRD", "IPRT"};

class ChunkedFile {
 public:
  // `facts` are the chunks to keep, `sound` the one that becomes the gap.
  ChunkedFile(bool big_endian_numbers, std::span<const std::string_view> facts, std::string_view sound)
      : is_big_endian_(big_endian_numbers), facts_(facts), sound_(sound) {}

  TagDigest digest(FileWindow& file, std::uint64_t offset, std::string_view id, std::string_view type) {
    FileRange range(file, offset, file.file_size());
    range.skip(12);
    walk(range, [this](std::string_view name, FileRange body) { take(name, std::move(body)); });
    TagDigest digest;
    digest.head = std::string(id) + number(4 + chunks_.size() + kChunkHeaderSize + sound_size_) +
                  std::string(type) + chunks_;
    if (sound_size_ > 0) digest.head += std::string(sound_) + number(sound_size_);
    digest.gap = sound_size_;
    digest.texts = std::move(texts_);
    return digest;
  }

 private:
  template <class Visit>
  void walk(FileRange range, Visit visit) const {
    for (int count = 0; count < kMostChunks; ++count) {
      const std::string header = range.read(kChunkHeaderSize);
      if (header.size() < kChunkHeaderSize) break;
      const std::string_view stored = std::string_view(header).substr(4);
      const std::uint64_t size = is_big_endian_ ? big_endian(stored) : little_endian(stored);
      visit(std::string_view(header).substr(0, 4), range.next(size));
      if (size % 2 != 0 && range.peek(0, 1) == std::string(1, '\0')) range.skip(1);
    }
  }

  void take(std::string_view name, FileRange body) {
    if (name == sound_ && sound_size_ == 0)
      sound_size_ = std::min<std::uint64_t>(body.left(), UINT32_MAX);
    else if (equal_ignoring_case(name, "ID3 "))
      add_once("ID3 ", digest_of_id3v2(body));
    else if (name == "LIST" && body.peek(0, 4) == "INFO")
      add_once("LIST", info(body));
    else if (facts_.take(name))
      add(name, body.read(kLongestFacts));
    else if (is_big_endian_)
      read_text(name, body);
  }

  void read_text(std::string_view name, FileRange body) {
    for (const TextChunk& row : kTextChunks)
      if (name == row.name &&
          std::ranges::none_of(texts_, [&](const auto& text) { return text.first == row.field; }))
        texts_.emplace_back(row.field, utf8_or_disguised(body.read(kLongestTagText), false));
  }

  std::string info(FileRange body) const {
    WantedKeys wanted(kWantedInfo);
    std::string texts(body.read(4));
    walk(body, [&](std::string_view name, FileRange text) {
      if (wanted.take(name)) texts += chunk(name, utf8_or_disguised(text.read(kLongestTagText), false));
    });
    return texts;
  }

  void add_once(std::string_view name, const std::string& body) {
    if (!body.empty() && tags_.take(name)) add(name, body);
  }
  void add(std::string_view name, std::string_view body) { chunks_ += chunk(name, body); }

  [[nodiscard]] std::string chunk(std::string_view name, std::string_view body) const {
    return std::string(name) + number(body.size()) + std::string(body) + std::string(body.size() % 2, '\0');
  }
  [[nodiscard]] std::string number(std::uint64_t value) const {
    value = std::min<std::uint64_t>(value, UINT32_MAX);
    return is_big_endian_ ? big_endian_bytes(value, 4) : little_endian_bytes(value, 4);
  }

  static constexpr std::string_view kTags[] = {"ID3 ", "LIST"};

  bool is_big_endian_;
  WantedKeys facts_;
  WantedKeys tags_{kTags};
  std::string_view sound_;
  std::string chunks_;
  std::vector<std::pair<std::string, std::string>> texts_;
  std::uint64_t sound_size_ = 0;
};

constexpr std::string_view kWavFacts[] = {"fmt ", "fact"};
constexpr std::string_view kAiffFacts[] = {"COMM"};

}  // namespace

TagDigest digest_of_wav(FileWindow& file, std::uint64_t offset) {
  return ChunkedFile(false, kWavFacts, "data").digest(file, offset, "RIFF", "WAVE");
}

TagDigest digest_of_aiff(FileWindow& file, std::uint64_t offset) {
  return ChunkedFile(true, kAiffFacts, "SSND").digest(file, offset, "FORM", "AIFF");
}

}  // namespace corvexal
