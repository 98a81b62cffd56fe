// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <utility>

#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/wanted_key.h"

namespace corvexal {
namespace {

// An atom: size with this header, 4 bytes; 1: in 8 bytes after the type; 0: up to the end | type | body
// An item of "ilst" is an atom with an atom "data": type, 4 bytes | locale, 4 bytes | value
constexpr std::size_t kAtomHeaderSize = 8, kDataHeaderSize = 16;
constexpr std::size_t kLongestFacts = 1024;     // bytes of an atom of facts about a track
constexpr std::size_t kLongestNumbers = 16;     // bytes of an item that is no text
constexpr std::uint64_t kUtf8 = 1, kUtf16 = 2;  // types of data
constexpr int kDeepest = 8;

constexpr std::string_view kFolders[] = {"moov", "trak", "mdia", "minf", "stbl", "udta"};
constexpr std::string_view kFacts[] = {"mdhd", "hdlr", "stsd"};
constexpr std::string_view kTexts[] = {"\251nam", "\251ART", "\251alb", "\251cmt",
                                       "\251wrt", "\251grp", "\251gen", "\251day"};
constexpr std::string_view kNumbers[] = {"trkn", "disk", "tmpo", "cpil", "gnre"};

template <class List>
bool contains(const List& list, std::string_view name) {
  return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

std::string atom(std::string_view type, std::string_view body) {
  return big_endian_bytes(body.size() + kAtomHeaderSize, 4).append(type).append(body);
}

class AtomWalk {
 public:
  // The wanted atoms of the range, rebuilt.
  std::string atoms(FileRange range, int depth = 0) {
    std::string all;
    walk(std::move(range), [&](std::string_view type, FileRange body) {
      if (type == "mdat") sound_ += body.left();
      if (depth == kDeepest || kept_ > kMostKept) return;
      if (contains(kFolders, type))
        all += atom(type, atoms(std::move(body), depth + 1));
      else if (type == "meta")
        all += atom(type, std::string(4, '\0') + atoms(after_version(std::move(body)), depth + 1));
      else if (type == "ilst")
        all += atom(type, items(std::move(body)));
      else if (contains(kFacts, type))
        all += keep(atom(type, body.read(kLongestFacts)));
    });
    return all;
  }

  [[nodiscard]] std::uint64_t sound() const { return sound_; }

 private:
  static constexpr std::size_t kMostKept = std::size_t{64} * 1024;

  template <class Visit>
  void walk(FileRange range, Visit visit) {
    while (atoms_left_-- > 0) {
      const std::string header = range.read(kAtomHeaderSize);
      if (header.size() < kAtomHeaderSize) break;
      std::uint64_t size = big_endian(header.substr(0, 4));
      std::uint64_t header_size = kAtomHeaderSize;
      if (size == 1) {
        size = big_endian(range.read(8));
        header_size += 8;
      } else if (size == 0) {
        size = range.left() + header_size;
      }
      if (size < header_size) break;
      visit(std::string_view(header).substr(4), range.next(size - header_size));
    }
  }

  // "meta" begins with its version and flags, but not as QuickTime writes it.
  static FileRange after_version(FileRange body) {
    if (body.peek(4, 4) != "hdlr") body.skip(4);
    return body;
  }

  std::string items(FileRange list) {
    std::string all;
    WantedKeys texts(kTexts), numbers(kNumbers);
    walk(std::move(list), [&](std::string_view type, FileRange body) {
      const std::string header = body.read(kDataHeaderSize);
      if (header.size() < kDataHeaderSize || header.compare(4, 4, "data") != 0) return;
      const std::uint64_t size = big_endian(header.substr(0, 4));
      FileRange value = body.next(size < kDataHeaderSize ? 0 : size - kDataHeaderSize);
      if (contains(kNumbers, type)) {
        if (numbers.take(type)) all += item(type, header.substr(8, 4), value.read(kLongestNumbers));
      } else if (contains(kTexts, type) && big_endian(header.substr(8, 4)) != kUtf16 && texts.take(type)) {
        all += item(type, big_endian_bytes(kUtf8, 4), utf8_or_disguised(value.read(kLongestTagText), true));
      }
    });
    return all;
  }

  static std::string item(std::string_view name, std::string_view type, const std::string& value) {
    return atom(name, atom("data", std::string(type) + std::string(4, '\0') + value));
  }

  std::string keep(std::string bytes) {
    kept_ += bytes.size();
    return bytes;
  }

  int atoms_left_ = 10'000;
  std::size_t kept_ = 0;
  std::uint64_t sound_ = 0;
};

}  // namespace

TagDigest digest_of_mp4(FileWindow& file, std::uint64_t offset) {
  AtomWalk walk;
  TagDigest digest;
  digest.head = walk.atoms(FileRange(file, offset, file.file_size()));
  digest.gap = walk.sound();
  digest.head += big_endian_bytes(1, 4) + "mdat" + big_endian_bytes(digest.gap + 16, 8);
  return digest;
}

}  // namespace corvexal
