// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/tag_digest.h"

#include "metadata/tag_digest/ape_digest.h"
#include "metadata/tag_digest/container_digests.h"
#include "metadata/tag_digest/id3_digest.h"

namespace corvexal {
namespace {

constexpr std::size_t kApeHeaderSize = 1024;  // holds the descriptor and header of every version

// The tags after the sound, and where they begin as the digest's own size says.
std::string tags_at_end(FileWindow& file) {
  const std::string id3v1 = id3v1_tag(file);
  return digest_of_ape_tag(file, file.file_size() - id3v1.size()) + id3v1;
}

TagDigest digest_of_mpeg(FileWindow& file) {
  TagDigest digest;
  digest.head = digest_of_id3v2(FileRange(file, 0, file.file_size()));
  if (digest.head.empty())
    digest.head = digest_of_id3v2_before(file, file.file_size() - id3v1_tag(file).size());
  digest.tail = tags_at_end(file);
  return digest;
}

TagDigest digest_of_ape(FileWindow& file, std::uint64_t offset) {
  FileRange range(file, offset, file.file_size());
  TagDigest digest;
  digest.head = range.read(kApeHeaderSize);
  digest.gap = range.left();
  digest.tail = tags_at_end(file);
  return digest;
}

TagDigest make_digest(FileWindow& file, const AudioContent& content) {
  switch (content.format) {
    case AudioFormat::kFlac:
      return digest_of_flac(file, content.offset);
    case AudioFormat::kVorbis:
    case AudioFormat::kOpus:
      return digest_of_ogg(file, content.offset);
    case AudioFormat::kMp4:
      return digest_of_mp4(file, content.offset);
    case AudioFormat::kAsf:
      return digest_of_asf(file, content.offset);
    case AudioFormat::kApe:
      return digest_of_ape(file, content.offset);
    case AudioFormat::kWav:
      return digest_of_wav(file, content.offset);
    case AudioFormat::kAiff:
      return digest_of_aiff(file, content.offset);
    case AudioFormat::kMpeg:
    case AudioFormat::kUnknown:
      break;
  }
  return digest_of_mpeg(file);
}

}  // namespace

TagDigest digest_of(FileWindow& file, const AudioContent& content) {
  TagDigest digest = make_digest(file, content);
  digest.format = content.format;
  return digest;
}

}  // namespace corvexal
