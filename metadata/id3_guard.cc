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

// What reading all tags of a file may cost, in bytes of memory.
constexpr std::uint64_t kMostMemory = 48U << 20;

// What libid3tag needs, measured: for every empty string of a list, which is one byte in the tag, a block of
// its own and a place in the list; for every frame the structure and its fields.
constexpr std::uint64_t kMemoryPerTextByte = 48;
constexpr std::uint64_t kMemoryPerFrame = 512;

// The texts in front of a picture or an object are looked for in this much of its frame.
constexpr std::size_t kLongestPreface = 4096;

constexpr std::size_t kId3v1Size = 128;

// A tag:   "ID3" | version, 2 bytes | flags | size, 4 bytes of 7 bits | extended header | frames | padding |
// footer
//          The footer is the header again with "3DI"; header and footer do not count in the size.
// A frame: id, 4 bytes | size, 4 bytes (of 7 bits in version 2.4) | flags, 2 bytes | body
//          In version 2.2: id, 3 bytes | size, 3 bytes | body
// A compressed body begins with its unpacked size, in version 2.4 behind the group's and the encryption's
// byte.
constexpr std::size_t kHeaderSize = 10;
constexpr std::size_t kFrameHeaderSize22 = 6;

constexpr std::uint8_t kUnsynchronised = 0x80;
constexpr std::uint8_t kExtendedHeader = 0x40;

// Low byte of a frame's flags.
constexpr std::uint8_t kCompressed23 = 0x80;
constexpr std::uint8_t kGrouped24 = 0x40;
constexpr std::uint8_t kCompressed24 = 0x08;
constexpr std::uint8_t kEncrypted24 = 0x04;
constexpr std::uint8_t kUnsynchronised24 = 0x02;
constexpr std::uint8_t kLength24 = 0x01;

struct TagHeader {
  int version;  // 2 for 2.2 and so on
  std::uint8_t flags;
  std::uint32_t size;
};

struct Frame {
  std::string_view id;
  std::uint8_t format = 0;
  Bytes body;
};

std::string_view as_text(Bytes bytes) {
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

// The frames of one tag in turn. The library takes versions from 2.5 on for 2.4, and reads none before 2.2.
class Frames {
 public:
  Frames(const TagHeader& header, Bytes body) : version_(header.version), left_(body) {
    if (version_ < 2) left_ = {};
    if (version_ < 3 || (header.flags & kExtendedHeader) == 0) return;
    // Version 2.3 does not count the size itself, 2.4 does.
    const std::uint64_t size =
        version_ == 3 ? std::uint64_t{be32(left_)} + 4 : std::max(seven_bits_a_byte(be32(left_)), 6U);
    left_ = left_.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(size, left_.size())));
  }

  // False at the padding, at the end, and where the frame does not fit.
  bool next(Frame& frame) {
    const std::size_t header_size = version_ == 2 ? kFrameHeaderSize22 : kHeaderSize;
    if (left_.size() < header_size || left_[0] == 0) return false;
    const std::uint32_t size = body_size();
    if (size > left_.size() - header_size) return false;
    frame.id = as_text(left_.first(version_ == 2 ? 3 : 4));
    frame.format = version_ == 2 ? 0 : left_[header_size - 1];
    frame.body = left_.subspan(header_size, size);
    left_ = left_.subspan(header_size + size);
    return true;
  }

 private:
  [[nodiscard]] std::uint32_t body_size() const {
    if (version_ == 2) return be32(left_.subspan(2)) & 0xFFFFFF;
    const std::uint32_t stored = be32(left_.subspan(4));
    return version_ == 3 ? stored : seven_bits_a_byte(stored);
  }

  int version_;
  Bytes left_;
};

// What the frame comes to when it is unpacked; nothing for one that is not compressed.
std::optional<std::uint32_t> unpacked_size(int version, const Frame& frame) {
  const std::uint8_t compressed = version == 3 ? kCompressed23 : kCompressed24;
  if (version == 2 || (frame.format & compressed) == 0) return {};
  if (version == 3) return be32(frame.body);
  const std::size_t before =
      ((frame.format & kGrouped24) != 0 ? 1U : 0U) + ((frame.format & kEncrypted24) != 0 ? 1U : 0U);
  return frame.body.size() < before ? 0 : seven_bits_a_byte(be32(frame.body.subspan(before)));
}

// Finds its way through the texts in front of a frame's data. One that has no end there goes on to the end.
class Preface {
 public:
  explicit Preface(Bytes bytes) : bytes_(bytes) {}

  void skip(std::size_t count) { at_ = std::min(at_ + count, bytes_.size()); }

  // Past a text in Latin-1, or in UTF-16 (of two zero bytes at its end) as `encoding` says.
  void skip_text(int encoding = 0) {
    const std::size_t unit = encoding == 1 || encoding == 2 ? 2 : 1;
    for (; bytes_.size() - at_ >= unit; at_ += unit) {
      if (bytes_[at_] != 0 || bytes_[at_ + unit - 1] != 0) continue;
      at_ += unit;
      return;
    }
    at_ = bytes_.size();
  }

  [[nodiscard]] int encoding() const { return bytes_.empty() ? 0 : bytes_[0]; }
  [[nodiscard]] bool has_end() const { return at_ < bytes_.size(); }

 private:
  Bytes bytes_;
  std::size_t at_ = 0;
};

// True for a frame whose body is kept as it is, but for some short texts in front: a picture, an object,
// private data, a chapter (which may have a picture of its own, and which the library does not look into).
bool is_data(int version, const Frame& frame) {
  std::vector<std::uint8_t> begin(
      frame.body.begin(),
      frame.body.begin() + static_cast<std::ptrdiff_t>(std::min(frame.body.size(), kLongestPreface)));
  if (version >= 4) {
    if ((frame.format & ~(kUnsynchronised24 | kLength24)) != 0) return false;
    if ((frame.format & kLength24) != 0)
      begin.erase(begin.begin(), begin.begin() + std::min<std::ptrdiff_t>(4, std::ssize(begin)));
    if ((frame.format & kUnsynchronised24) != 0) undo_unsynchronisation(begin);
  } else if (frame.format != 0) {
    return false;
  }
  Preface preface(begin);
  if (frame.id == "CHAP") return true;
  if (frame.id == "PRIV") {
    preface.skip_text();
  } else if (frame.id == "APIC" || frame.id == "PIC") {  // the library reads them alike
    preface.skip(1);
    preface.skip_text();
    preface.skip(1);
    preface.skip_text(preface.encoding());
  } else if (frame.id == "GEOB" || frame.id == "GEO") {
    preface.skip(1);
    preface.skip_text();
    preface.skip_text(preface.encoding());
    preface.skip_text(preface.encoding());
  } else {
    return false;
  }
  return preface.has_end();
}

// The most memory that the frame takes once it is read.
std::uint64_t memory_for(int version, const Frame& frame) {
  const std::uint64_t size = frame.body.size();
  if (is_data(version, frame)) {
    const bool copied_twice = version >= 4 && (frame.format & kUnsynchronised24) != 0;
    return kMemoryPerFrame + kLongestPreface + (copied_twice ? 2 : 1) * size;
  }
  return kMemoryPerFrame +
         kMemoryPerTextByte * std::max<std::uint64_t>(unpacked_size(version, frame).value_or(0), size);
}

class TagWalk {
 public:
  explicit TagWalk(File& file) : file_(file) {}

  // Walks the tag at `offset`, if there is one. False when it is too much.
  bool tag_at(std::uint64_t offset) {
    const auto header = header_at(offset, "ID3");
    if (!header) return true;
    const std::uint64_t rest = file_.size() - offset - kHeaderSize;
    // In these versions the whole tag is copied to undo it, in later ones each frame.
    const bool copied = header->version < 4 && (header->flags & kUnsynchronised) != 0;
    if (!spend((copied ? 2 : 1) * std::min<std::uint64_t>(header->size, rest))) return false;
    if (header->size > rest) return true;  // the library reads the rest and gives the tag up
    std::vector<std::uint8_t> body(header->size);
    body.resize(file_.read_at(offset + kHeaderSize, body));
    if (copied) undo_unsynchronisation(body);
    Frame frame;
    for (Frames frames(*header, body); frames.next(frame);)
      if (frame.id == "SEEK" || !spend(memory_for(header->version, frame))) return false;
    return true;
  }

  // The same for the tag in front of a footer that ends at `end`.
  bool tag_before(std::uint64_t end) {
    if (end < kHeaderSize) return true;
    const auto footer = header_at(end - kHeaderSize, "3DI");
    if (!footer || footer->size + 2 * kHeaderSize > end) return true;
    return tag_at(end - footer->size - 2 * kHeaderSize);
  }

 private:
  // A header as the library takes it for one; with other bytes after the mark there is no tag.
  std::optional<TagHeader> header_at(std::uint64_t offset, std::string_view mark) {
    std::array<std::uint8_t, kHeaderSize> bytes{};
    if (file_.read_at(offset, bytes) != bytes.size() || !as_text(bytes).starts_with(mark)) return {};
    const std::uint32_t size = be32(Bytes(bytes).subspan(6));
    if (bytes[3] == 0xFF || bytes[4] == 0xFF || (size & 0x80808080) != 0) return {};
    return TagHeader{bytes[3], bytes[5], seven_bits_a_byte(size)};
  }

  bool spend(std::uint64_t memory) {
    if (memory > memory_left_) return false;
    memory_left_ -= memory;
    return true;
  }

  File& file_;
  std::uint64_t memory_left_ = kMostMemory;
};

}  // namespace

bool id3_tags_are_bounded(File& file) {
  TagWalk walk(file);
  const std::uint64_t end = file.size();
  if (!walk.tag_at(0) || !walk.tag_before(end)) return false;
  if (end < kId3v1Size) return true;
  // Where an ID3v1 tag belongs the library takes any other, too, and looks for a footer in front of it.
  return (end == kId3v1Size || walk.tag_at(end - kId3v1Size)) && walk.tag_before(end - kId3v1Size);
}

}  // namespace corvexal
