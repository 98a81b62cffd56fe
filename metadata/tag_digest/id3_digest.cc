// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/id3_digest.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "metadata/tag_digest/legacy_mark.h"

namespace corvexal {
namespace {

// A tag:   "ID3" | version, 2 bytes | flags | size, 4 bytes of 7 bits | extended header | frames | padding
// A frame: id, 4 bytes | size, 4 bytes (of 7 bits in version 2.4) | flags, 2 bytes | body
//          In version 2.2: id, 3 bytes | size, 3 bytes | body
constexpr std::size_t kTagHeaderSize = 10;
constexpr std::size_t kId3v1Size = 128;

constexpr std::uint8_t kUnsynchronised = 0x80;
constexpr std::uint8_t kExtendedHeader = 0x40;  // in version 2.2: the tag is compressed
constexpr std::uint8_t kFooter = 0x10;

// Low byte of a frame's flags.
constexpr std::uint8_t kCompressedOrEncrypted23 = 0xC0, kGrouped23 = 0x20;
constexpr std::uint8_t kGrouped24 = 0x40, kCompressedOrEncrypted24 = 0x0C, kUnsynchronised24 = 0x02,
                       kLength24 = 0x01;

constexpr int kMostTagsInARow = 16;
constexpr int kMostFrames = 10'000;
constexpr std::uint64_t kLargestUnsynchronisedTag = 32U << 20;  // bytes; such a tag is looked at byte by byte

constexpr std::size_t kMostFrameOverhead = 16;  // bytes in front of a frame's text

struct WantedFrame {
  std::string_view id, old_id;
};
constexpr WantedFrame kWantedFrames[] = {
    {"TIT2", "TT2"}, {"TPE1", "TP1"}, {"TALB", "TAL"}, {"TCON", "TCO"}, {"TCOM", "TCM"},
    {"TRCK", "TRK"}, {"TPOS", "TPA"}, {"TDRC", ""},    {"TYER", "TYE"}, {"TBPM", "TBP"},
    {"TCMP", "TCP"}, {"GRP1", "GP1"}, {"TIT1", "TT1"}, {"COMM", "COM"},
};

std::uint32_t seven_bits_a_byte(std::string_view bytes) {
  std::uint32_t value = 0;
  for (const char byte : bytes) value = value << 7 | (static_cast<std::uint8_t>(byte) & 0x7F);
  return value;
}

std::string seven_bit_bytes(std::size_t value) {
  std::string bytes;
  for (const int shift : {21, 14, 7, 0}) bytes += static_cast<char>(value >> shift & 0x7F);
  return bytes;
}

struct TagHeader {
  int version;  // 2 for 2.2 and so on
  std::uint8_t flags;
  std::uint32_t size;
};

std::optional<TagHeader> tag_header(std::string_view bytes) {
  if (bytes.size() < kTagHeaderSize || !bytes.starts_with("ID3")) return std::nullopt;
  const auto version = static_cast<unsigned char>(bytes[3]);
  if (version < 2 || version > 4) return std::nullopt;
  return TagHeader{version, static_cast<std::uint8_t>(bytes[5]), seven_bits_a_byte(bytes.substr(6))};
}

// Takes out the zero bytes that keep a tag from looking like audio: one after each 0xFF.
class Synchronised final : public ByteSource {
 public:
  explicit Synchronised(FileRange range) : range_(std::move(range)) {}

  std::string read(std::size_t count) override {
    std::string bytes;
    for (char byte = 0; bytes.size() < count && next(byte);) bytes += byte;
    return bytes;
  }
  void skip(std::uint64_t count) override {
    for (char byte = 0; count > 0 && next(byte);) --count;
  }

 private:
  bool next(char& byte) {
    if (!next_stored(byte)) return false;
    if (after_ff_ && byte == '\0' && !next_stored(byte)) return false;
    after_ff_ = byte == '\xFF';
    return true;
  }
  bool next_stored(char& byte) {
    if (at_ == block_.size()) {
      block_ = range_.read(FileWindow::kSize);
      at_ = 0;
      if (block_.empty()) return false;
    }
    byte = block_[at_++];
    return true;
  }

  FileRange range_;
  std::string block_;
  std::size_t at_ = 0;
  bool after_ff_ = false;
};

std::string without_unsynchronisation(std::string_view bytes) {
  std::string kept;
  for (std::size_t at = 0; at < bytes.size(); ++at)
    if (bytes[at] != '\0' || at == 0 || bytes[at - 1] != '\xFF') kept += bytes[at];
  return kept;
}

// UTF-16 up to its first zero character. A text that should begin with a byte-order mark gets one.
std::string utf16(std::string_view text, int encoding) {
  std::size_t end = 0;
  while (end + 1 < text.size() && end < kLongestTagText && (text[end] != 0 || text[end + 1] != 0)) end += 2;
  text = text.substr(0, end);
  const bool has_mark = text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
  if (encoding == 2 || has_mark || text.empty()) return std::string(text);
  return (text[0] == 0 ? "\xFE\xFF" : "\xFF\xFE") + std::string(text);
}

// The encoding byte and text of a frame for TagLib: texts of one byte a character become UTF-8.
std::string text_field(int encoding, std::string_view text) {
  const bool is_utf16 = encoding == 1 || encoding == 2;
  std::string field(1, is_utf16 ? static_cast<char>(encoding) : '\3');
  return field += is_utf16 ? utf16(text, encoding) : utf8_or_disguised(text, encoding == 3);
}

// A comment: encoding | language, 3 bytes | description, zero character | text. Only one without a
// description is the song's comment; players keep figures of their own in the others.
std::string comment_body(std::string_view body) {
  constexpr std::size_t kBeforeDescription = 4;
  if (body.size() < kBeforeDescription) return {};
  const auto encoding = static_cast<unsigned char>(body[0]);
  std::string_view rest = body.substr(kBeforeDescription);
  const bool is_utf16 = encoding == 1 || encoding == 2;
  if (is_utf16 && (rest.starts_with("\xFF\xFE") || rest.starts_with("\xFE\xFF"))) rest.remove_prefix(2);
  const std::string_view terminator("\0\0", is_utf16 ? 2 : 1);
  if (!rest.starts_with(terminator)) return {};
  const std::string field = text_field(encoding, rest.substr(terminator.size()));
  std::string comment = field.substr(0, 1).append(body.substr(1, 3));
  if (encoding == 1) comment += "\xFF\xFE";
  return comment.append(terminator).append(field, 1);
}

std::string frame_bytes(int version, std::string_view id, std::string_view body) {
  std::string frame(id);
  if (version == 2) return frame.append(big_endian_bytes(body.size(), 3)).append(body);
  frame += version == 3 ? big_endian_bytes(body.size(), 4) : seven_bit_bytes(body.size());
  return frame.append(2, '\0').append(body);
}

bool is_frame_start(std::string_view bytes) {
  return bytes.empty() || bytes[0] == 0 || std::all_of(bytes.begin(), bytes.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
         });
}

class TagWalk {
 public:
  TagWalk(const TagHeader& header, const FileRange& body) : version_(header.version), range_(body) {
    if (version_ < 4 && (header.flags & kUnsynchronised) != 0) {
      const std::uint64_t most = std::min(body.left(), kLargestUnsynchronisedTag);
      synchronised_ = std::make_unique<Synchronised>(range_.next(most));
    }
    if (version_ > 2 && (header.flags & kExtendedHeader) != 0) skip_extended_header();
  }

  // The wanted frames, rebuilt.
  std::string frames() {
    std::string all;
    const std::size_t header_size = version_ == 2 ? 6 : 10;
    for (int count = 0; count < kMostFrames; ++count) {
      const std::string header = source().read(header_size);
      if (header.size() < header_size || header[0] == '\0') break;
      all += frame(header);
    }
    return all;
  }

 private:
  ByteSource& source() { return synchronised_ ? static_cast<ByteSource&>(*synchronised_) : range_; }

  // Version 2.3 does not count the size itself, 2.4 does.
  void skip_extended_header() {
    const std::string size = source().read(4);
    source().skip(version_ == 3 ? big_endian(size) : std::max(seven_bits_a_byte(size), 4U) - 4);
  }

  [[nodiscard]] std::uint64_t body_size(std::string_view header) const {
    if (version_ == 2) return big_endian(header.substr(3, 3));
    const std::string_view stored = header.substr(4, 4);
    const std::uint64_t plain = big_endian(stored), synchsafe = seven_bits_a_byte(stored);
    if (version_ == 3 || (plain & 0x80808080) != 0) return plain;
    // Some writers put plain sizes into version 2.4: the right one leads to another frame.
    const bool is_plain = !is_frame_start(range_.peek(synchsafe, 4)) && is_frame_start(range_.peek(plain, 4));
    return is_plain ? plain : synchsafe;
  }

  std::string frame(std::string_view header) {
    const std::uint64_t size = body_size(header);
    std::string_view id = header.substr(0, version_ == 2 ? 3 : 4);
    const auto* const row = std::find_if(
        std::begin(kWantedFrames), std::end(kWantedFrames),
        [&](const WantedFrame& wanted) { return id == (version_ == 2 ? wanted.old_id : wanted.id); });
    if (row == std::end(kWantedFrames) || taken_[static_cast<std::size_t>(row - kWantedFrames)]) {
      source().skip(size);
      return {};
    }
    const std::uint8_t flags = version_ == 2 ? 0 : static_cast<std::uint8_t>(header[9]);
    const std::string body = plain_body(source().take(size, kLongestTagText + kMostFrameOverhead), flags);
    if (body.empty()) return {};
    const std::string kept =
        row->id == "COMM" ? comment_body(body) : text_field(body[0], std::string_view(body).substr(1));
    if (kept.empty()) return {};
    taken_[static_cast<std::size_t>(row - kWantedFrames)] = true;
    if (version_ == 4 && id == "TYER") id = "TDRC";
    return frame_bytes(version_, id, kept);
  }

  [[nodiscard]] std::string plain_body(std::string body, std::uint8_t flags) const {
    if (version_ == 3) {
      if ((flags & kCompressedOrEncrypted23) != 0) return {};
      return body.erase(0, (flags & kGrouped23) != 0 ? 1 : 0);
    }
    if (version_ == 2) return body;
    if ((flags & kCompressedOrEncrypted24) != 0) return {};
    body.erase(0, ((flags & kGrouped24) != 0 ? 1U : 0U) + ((flags & kLength24) != 0 ? 4U : 0U));
    return (flags & kUnsynchronised24) != 0 ? without_unsynchronisation(body) : body;
  }

  int version_;
  FileRange range_;
  std::unique_ptr<Synchronised> synchronised_;
  std::array<bool, std::size(kWantedFrames)> taken_{};
};

}  // namespace

std::uint64_t end_of_id3v2(FileWindow& file) {
  FileRange range(file, 0, file.file_size());
  for (int count = 0; count < kMostTagsInARow; ++count) {
    const auto header = tag_header(range.peek(0, kTagHeaderSize));
    if (!header) break;
    range.skip(kTagHeaderSize + header->size + ((header->flags & kFooter) != 0 ? kTagHeaderSize : 0));
  }
  return range.position();
}

std::string digest_of_id3v2(FileRange range) {
  const auto header = tag_header(range.read(kTagHeaderSize));
  if (!header || (header->version == 2 && (header->flags & kExtendedHeader) != 0)) return {};
  const std::string frames = TagWalk(*header, range.next(header->size)).frames();
  if (frames.empty()) return {};
  std::string tag = "ID3";
  tag += static_cast<char>(header->version);
  tag.append(2, '\0');
  return tag.append(seven_bit_bytes(frames.size())).append(frames);
}

std::string digest_of_id3v2_before(FileWindow& file, std::uint64_t end) {
  if (end < kTagHeaderSize) return {};
  const std::string footer = FileRange(file, end - kTagHeaderSize, end).read(kTagHeaderSize);
  if (!footer.starts_with("3DI")) return {};
  const auto header = tag_header("ID3" + footer.substr(3));
  if (!header || header->size + 2 * kTagHeaderSize > end) return {};
  return digest_of_id3v2(FileRange(file, end - header->size - 2 * kTagHeaderSize, end));
}

std::string id3v1_tag(FileWindow& file) {
  if (file.file_size() < kId3v1Size) return {};
  std::string tag = FileRange(file, file.file_size() - kId3v1Size, file.file_size()).read(kId3v1Size);
  return tag.starts_with("TAG") ? tag : "";
}

}  // namespace corvexal
