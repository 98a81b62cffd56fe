// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/id3_digest.h"
#include "metadata/tag_digest/vorbis_digest.h"

namespace corvexal {
namespace {

// A stream: "fLaC" | metadata blocks | frames
// A block:  type, its top bit set in the last one | size, 3 bytes | body
constexpr std::size_t kBlockHeaderSize = 4;
constexpr unsigned kLastBlock = 0x80, kStreamInfo = 0, kVorbisComment = 4;
constexpr std::size_t kStreamInfoSize = 34;
constexpr int kMostBlocks = 1000;

std::string block(unsigned type, std::string_view body) {
  return big_endian_bytes(type, 1) + big_endian_bytes(body.size(), 3).append(body);
}

}  // namespace

TagDigest digest_of_flac(FileWindow& file, std::uint64_t offset) {
  FileRange range(file, offset, file.file_size());
  range.skip(4);
  std::string stream_info, comment;
  for (int count = 0; count < kMostBlocks; ++count) {
    const std::string header = range.read(kBlockHeaderSize);
    if (header.size() < kBlockHeaderSize) break;
    const auto type = static_cast<std::uint8_t>(header[0]);
    FileRange body = range.next(big_endian(header.substr(1)));
    if ((type & ~kLastBlock) == kStreamInfo && stream_info.empty()) stream_info = body.read(kStreamInfoSize);
    if ((type & ~kLastBlock) == kVorbisComment && comment.empty()) comment = digest_of_vorbis_comment(body);
    if ((type & kLastBlock) != 0) break;
  }
  if (stream_info.empty()) return {};
  if (comment.empty()) comment.assign(8, '\0');
  TagDigest digest;
  digest.head = digest_of_id3v2(FileRange(file, 0, offset)) + "fLaC" + block(kStreamInfo, stream_info) +
                block(kLastBlock | kVorbisComment, comment);
  digest.gap = range.left();
  return digest;
}

}  // namespace corvexal
