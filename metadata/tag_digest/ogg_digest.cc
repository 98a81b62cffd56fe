// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/vorbis_digest.h"

namespace corvexal {
namespace {

// A page (RFC 3533): "OggS" | version | flags | granule position, 8 bytes | serial number | sequence number |
// check sum | number of segments, 1 byte | their sizes, a byte each | segments
// A packet goes on, over pages too, until a segment of less than 255 bytes.
constexpr std::size_t kPageHeaderSize = 27;
constexpr std::size_t kMostSegments = 255, kLongestSegment = 255;
constexpr std::size_t kLargestPage = kPageHeaderSize + kMostSegments + kMostSegments * kLongestSegment;
constexpr int kMostPages = 100'000;  // that a packet lies across
constexpr std::size_t kGranuleAt = 6, kSerialAt = 14;
constexpr std::size_t kFirstPacketSize = 64;

constexpr std::string_view kVorbisCommentMark("\x03vorbis", 7), kOpusCommentMark("OpusTags", 8);

// The packets of the logical stream that the first page belongs to, one after another.
class Packets final : public ByteSource {
 public:
  Packets(FileWindow& file, std::uint64_t offset) : pages_(file, offset, file.file_size()) {}

  std::string read(std::size_t count) override {
    std::string bytes;
    while (bytes.size() < count && has_bytes()) {
      const std::size_t wanted = std::min(count - bytes.size(), in_segment_);
      const std::string piece = data_.read(wanted);
      if (piece.empty()) break;  // the file ends inside the page
      in_segment_ -= piece.size();
      bytes += piece;
    }
    return bytes;
  }
  void skip(std::uint64_t count) override {
    while (count > 0 && has_bytes()) {
      const auto step = static_cast<std::size_t>(std::min<std::uint64_t>(count, in_segment_));
      data_.skip(step);
      in_segment_ -= step;
      count -= step;
    }
  }

  // Goes to the next packet's beginning.
  void finish_packet() {
    skip(UINT64_MAX);
    in_last_segment_ = false;
  }

  [[nodiscard]] const std::string& serial() const { return serial_; }
  [[nodiscard]] std::uint64_t end_of_page() const { return pages_.position(); }

 private:
  // False at the packet's end.
  bool has_bytes() {
    while (in_segment_ == 0) {
      if (in_last_segment_) return false;
      if (segment_ == lacing_.size() && !next_page()) {
        in_last_segment_ = true;
        return false;
      }
      in_segment_ = static_cast<std::uint8_t>(lacing_[segment_++]);
      in_last_segment_ = in_segment_ < kLongestSegment;
    }
    return true;
  }

  bool next_page() {
    while (pages_left_-- > 0) {
      const std::string header = pages_.read(kPageHeaderSize);
      if (header.size() < kPageHeaderSize || !header.starts_with("OggS")) return false;
      lacing_ = pages_.read(static_cast<std::uint8_t>(header.back()));
      std::uint64_t size = 0;
      for (const char segment : lacing_) size += static_cast<std::uint8_t>(segment);
      data_ = pages_.next(size);
      segment_ = 0;
      if (serial_.empty()) serial_ = header.substr(kSerialAt, 4);
      if (!lacing_.empty() && header.compare(kSerialAt, 4, serial_) == 0) return true;
    }
    return false;
  }

  FileRange pages_;
  FileRange data_ = pages_;
  std::string lacing_;
  std::string serial_;
  std::size_t segment_ = 0;
  std::size_t in_segment_ = 0;
  bool in_last_segment_ = false;
  int pages_left_ = kMostPages;
};

std::string page(std::uint32_t sequence, std::string_view packet) {
  constexpr char kFirstPageOfStream = 2;
  std::string header = "OggS";
  header += '\0';
  header += sequence == 0 ? kFirstPageOfStream : '\0';
  header.append(8 + 4, '\0');  // granule position and serial number
  header += little_endian_bytes(sequence, 4) + std::string(4, '\0');
  std::string lacing(packet.size() / kLongestSegment, '\xFF');
  lacing += static_cast<char>(packet.size() % kLongestSegment);
  header += static_cast<char>(lacing.size());
  return header + lacing + std::string(packet);
}
static_assert(kLargestComment + 16 < kMostSegments * kLongestSegment);

// The header of the stream's last page that says how many samples there are up to it; empty when there is
// none near the end.
std::string last_page_header(FileWindow& file, std::string_view serial) {
  const std::uint64_t size = file.file_size();
  const std::string end =
      FileRange(file, size - std::min<std::uint64_t>(size, kLargestPage), size).read(kLargestPage);
  const std::string no_granule(8, '\xFF');
  for (std::size_t at = end.rfind("OggS"); at != std::string::npos;
       at = at == 0 ? std::string::npos : end.rfind("OggS", at - 1)) {
    if (at + kPageHeaderSize > end.size() || end.compare(at + kSerialAt, 4, serial) != 0 ||
        end.compare(at + kGranuleAt, 8, no_granule) == 0)
      continue;
    return end.substr(at, kPageHeaderSize - 1) + std::string("\x01\0", 2);  // of one empty segment
  }
  return {};
}

}  // namespace

TagDigest digest_of_ogg(FileWindow& file, std::uint64_t offset) {
  Packets packets(file, offset);
  const std::string identification = packets.read(kFirstPacketSize);
  packets.finish_packet();
  const bool is_opus = identification.starts_with("OpusHead");
  const std::string_view mark = is_opus ? kOpusCommentMark : kVorbisCommentMark;
  const std::string comment =
      packets.read(mark.size()) == mark ? digest_of_vorbis_comment(packets) : std::string(8, '\0');
  packets.finish_packet();
  TagDigest digest;
  digest.head = page(0, identification) + page(1, std::string(mark) + comment + '\1') + page(2, "\5");
  digest.tail = last_page_header(file, packets.serial());
  digest.gap = file.file_size() - packets.end_of_page();
  return digest;
}

}  // namespace corvexal
