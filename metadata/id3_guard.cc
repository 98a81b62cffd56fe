#include "metadata/id3_guard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/byte_reader.h"

namespace corvexal {
namespace {

constexpr std::uint64_t kLargestTags = 16U << 20;  // bytes
constexpr int kMostTags = 4;

constexpr std::size_t kId3v1Size = 128;

// A tag:   "ID3" | version, 2 bytes | flags | size, 4 bytes of 7 bits | extended header | frames | padding |
// footer
//          The footer is the header again with "3DI"; header and footer do not count in the size.
// A frame: id, 4 bytes | size, 4 bytes (of 7 bits in version 2.4) | flags, 2 bytes | body
// A compressed body begins with its unpacked size, in version 2.4 behind the group's and the encryption's
// byte.
constexpr std::size_t kHeaderSize = 10;  // of both

constexpr std::uint8_t kUnsynchronised = 0x80;
constexpr std::uint8_t kExtendedHeader = 0x40;
constexpr std::uint8_t kFooter = 0x10;

// Low byte of a frame's flags.
constexpr std::uint8_t kCompressed23 = 0x80;
constexpr std::uint8_t kGrouped24 = 0x40;
constexpr std::uint8_t kCompressed24 = 0x08;
constexpr std::uint8_t kEncrypted24 = 0x04;

struct TagHeader {
  int version;
  std::uint8_t flags;
  std::uint32_t size;

  [[nodiscard]] std::uint64_t whole_size() const {
    return std::uint64_t{size} + ((flags & kFooter) != 0 ? 2 : 1) * kHeaderSize;
  }
};

struct Frame {
  std::string_view id;
  std::uint8_t format = 0;
  Bytes body;
};

std::string_view characters(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::uint32_t be32(Bytes bytes) {
  std::uint32_t value = 0;
  return ByteReader(bytes).be32(value) ? value : 0;
}

std::uint32_t seven_bits_a_byte(std::uint32_t value) {
  return (value & 0x7F000000) >> 3 | (value & 0x7F0000) >> 2 | (value & 0x7F00) >> 1 | (value & 0x7F);
}

// Takes out the zero bytes that keep a tag from looking like audio: one behind each 0xFF.
void undo_unsynchronisation(std::vector<std::uint8_t>& bytes) {
  std::size_t kept = 0;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    bytes[kept++] = bytes[at];
    if (bytes[at] == 0xFF && at + 1 < bytes.size() && bytes[at + 1] == 0) ++at;
  }
  bytes.resize(kept);
}

// The frames of one tag in turn. A tag of version 2.2 neither compresses nor seeks, and has none here.
class Frames {
 public:
  Frames(const TagHeader& header, Bytes body) : version_(header.version), left_(body) {
    if (version_ != 3 && version_ != 4) left_ = {};
    if ((header.flags & kExtendedHeader) == 0) return;
    // Version 2.3 does not count the size itself, 2.4 does.
    const std::uint64_t size =
        version_ == 3 ? std::uint64_t{be32(left_)} + 4 : std::max(seven_bits_a_byte(be32(left_)), 6U);
    left_ = left_.subspan(std::min<std::uint64_t>(size, left_.size()));
  }

  // False at the padding, at the end, and where the frame does not fit.
  bool next(Frame& frame) {
    if (left_.size() < kHeaderSize || left_[0] == 0) return false;
    const std::uint32_t stored = be32(left_.subspan(4));
    const std::uint32_t size = version_ == 4 ? seven_bits_a_byte(stored) : stored;
    if (size > left_.size() - kHeaderSize) return false;
    frame = {characters(left_.first(4)), left_[kHeaderSize - 1], left_.subspan(kHeaderSize, size)};
    left_ = left_.subspan(kHeaderSize + size);
    return true;
  }

 private:
  int version_;
  Bytes left_;
};

// What the frame comes to when it is unpacked; 0 for one that is not compressed.
std::uint32_t unpacked_size(int version, const Frame& frame) {
  if (version == 3) return (frame.format & kCompressed23) != 0 ? be32(frame.body) : 0;
  if ((frame.format & kCompressed24) == 0) return 0;
  const std::size_t before =
      ((frame.format & kGrouped24) != 0 ? 1U : 0U) + ((frame.format & kEncrypted24) != 0 ? 1U : 0U);
  return frame.body.size() < before ? 0 : seven_bits_a_byte(be32(frame.body.subspan(before)));
}

class TagWalk {
 public:
  explicit TagWalk(File& file) : file_(file) {}

  // Walks the tag at `offset`, if there is one, and those that SEEK frames lead to. False when that is too
  // much.
  bool from(std::uint64_t offset) {
    while (const auto header = header_at(offset, "ID3")) {
      const std::uint64_t rest = file_.size() - offset - kHeaderSize;
      if (tags_left_-- == 0 || !spend(std::min<std::uint64_t>(header->size, rest))) return false;
      if (header->size > rest) break;  // the library reads the rest and gives the tag up
      const std::vector<std::uint8_t> body = body_at(offset + kHeaderSize, *header);
      std::optional<std::uint32_t> seek;
      Frame frame;
      for (Frames frames(*header, body); frames.next(frame);) {
        if (!spend(unpacked_size(header->version, frame))) return false;
        if (seek || frame.id != "SEEK") continue;
        if (frame.format != 0) return false;
        seek = be32(frame.body);
      }
      if (!seek) break;
      offset += header->whole_size() + *seek;
    }
    return true;
  }

  // The same for a tag in front of its footer, at the end of the file or of what an ID3v1 tag leaves of it.
  bool from_footer() {
    std::uint64_t end = file_.size();
    if (end >= kId3v1Size && header_at(end - kId3v1Size, "TAG")) end -= kId3v1Size;
    if (end < kHeaderSize) return true;
    const auto footer = header_at(end - kHeaderSize, "3DI");
    if (!footer || footer->size + 2 * kHeaderSize > end) return true;
    return from(end - footer->size - 2 * kHeaderSize);
  }

 private:
  std::optional<TagHeader> header_at(std::uint64_t offset, std::string_view mark) {
    std::array<std::uint8_t, kHeaderSize> bytes{};
    if (file_.read_at(offset, bytes) != bytes.size() || !characters(bytes).starts_with(mark)) return {};
    return TagHeader{bytes[3], bytes[5], seven_bits_a_byte(be32(Bytes(bytes).subspan(6)))};
  }

  std::vector<std::uint8_t> body_at(std::uint64_t offset, const TagHeader& header) {
    std::vector<std::uint8_t> body(header.size);
    body.resize(file_.read_at(offset, body));
    // From version 2.4 on it is done frame by frame, and leaves the frames' sizes alone.
    if (header.version < 4 && (header.flags & kUnsynchronised) != 0) undo_unsynchronisation(body);
    return body;
  }

  bool spend(std::uint64_t bytes) {
    if (bytes > bytes_left_) return false;
    bytes_left_ -= bytes;
    return true;
  }

  File& file_;
  std::uint64_t bytes_left_ = kLargestTags;
  int tags_left_ = kMostTags;
};

}  // namespace

bool id3_tags_are_bounded(File& file) {
  TagWalk walk(file);
  return walk.from(0) && walk.from_footer();
}

}  // namespace corvexal
