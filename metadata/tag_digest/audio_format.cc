// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/audio_format.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "base/text.h"
#include "metadata/mp3_header.h"
#include "metadata/tag_digest/byte_source.h"
#include "metadata/tag_digest/id3_digest.h"

namespace corvexal {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view start;  // of the file
  std::size_t at;          // of the second mark
  std::string_view mark;
  AudioFormat format;
};
constexpr Signature kSignatures[] = {
    {"fLaC", 0, "", AudioFormat::kFlac},
    {"MAC ", 0, "", AudioFormat::kApe},
    {"", 4, "ftyp", AudioFormat::kMp4},
    {"OggS", 28, "\x01vorbis", AudioFormat::kVorbis},  // in a first page of one segment
    {"OggS", 28, "OpusHead", AudioFormat::kOpus},
    {"RIFF", 8, "WAVE", AudioFormat::kWav},
    {"RF64", 8, "WAVE", AudioFormat::kWav},
    {"FORM", 8, "AIFF", AudioFormat::kAiff},
    {"FORM", 8, "AIFC", AudioFormat::kAiff},
    {"\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv, 0, "", AudioFormat::kAsf},
};
constexpr std::size_t kProbeSize = 64;

struct Extension {
  std::string_view name;
  AudioFormat format;
};
constexpr Extension kExtensions[] = {
    {"mp3", AudioFormat::kMpeg}, {"mp2", AudioFormat::kMpeg}, {"mp1", AudioFormat::kMpeg},
    {"mpa", AudioFormat::kMpeg}, {"aac", AudioFormat::kMpeg}, {"m4a", AudioFormat::kMp4},
    {"m4p", AudioFormat::kMp4},
};

bool is_mpeg_frame(std::string_view bytes) {
  Mp3FrameInfo info;
  return bytes.size() >= kMp3HeaderSize &&
         mp3_decode_header(
             Mp3HeaderBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), kMp3HeaderSize), info) == 0;
}

AudioFormat format_of_bytes(std::string_view bytes) {
  for (const Signature& row : kSignatures)
    if (bytes.starts_with(row.start) && bytes.size() > row.at && bytes.substr(row.at).starts_with(row.mark))
      return row.format;
  return is_mpeg_frame(bytes) ? AudioFormat::kMpeg : AudioFormat::kUnknown;
}

AudioFormat format_of_extension(std::string_view extension) {
  const auto* const row =
      std::find_if(std::begin(kExtensions), std::end(kExtensions),
                   [&](const auto& known) { return equal_ignoring_case(known.name, extension); });
  return row == std::end(kExtensions) ? AudioFormat::kUnknown : row->format;
}

}  // namespace

AudioContent probe_audio(FileWindow& file, std::string_view extension) {
  const std::uint64_t offset = end_of_id3v2(file);
  AudioFormat format = format_of_bytes(FileRange(file, offset, file.file_size()).read(kProbeSize));
  if (format == AudioFormat::kUnknown) format = format_of_extension(extension);
  if (format == AudioFormat::kUnknown && offset > 0) format = AudioFormat::kMpeg;
  return {format, offset};
}

}  // namespace corvexal
