// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_video.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "base/file.h"
#include "base/paths.h"
#include "base/text.h"
#include "metadata/mpeg_headers.h"
#include "metadata/mpeg_playing_time.h"

namespace corvexal {
namespace {

// Sequence header: 4 width, 12 bits | height, 12 bits | 7 aspect ratio, 4 bits | frame rate code, 4 bits
//   8 bit rate in 400 bit/s, 18 bits.
// Sequence extension: 9 one bit | n of the frame rate, 2 bits | d, 5 bits.
// Sequence display extension: 4 identifier 2, 4 bits | video format, 3 bits | one bit.
constexpr std::size_t kSequenceSize = 12, kExtensionSize = 10, kDisplayExtensionSize = 5;
constexpr int kDisplayExtension = 2;

constexpr std::int32_t kUnknown = -1, kPal = 1, kNtsc = 2;  // television systems
constexpr std::int32_t kVariableRate = 0x3FFFF;             // of MPEG-1

// Reads headers at known places; what the file does not give is zero and makes the result -1.
struct KnownHeaders {
  File& file;
  const std::string& path;
  int result = 0;

  // Standard output tells a failed read by the number, a short one by the next.
  template <std::size_t size>
  std::array<std::uint8_t, size> read(std::uint64_t offset, int error_number) {
    std::array<std::uint8_t, size> header{};
    if (file.read_at(offset, header) < size) {
      std::printf("\nRead error%d(%s)\n", file.failed() ? error_number : error_number + 1, path.c_str());
      result = -1;
    }
    return header;
  }
};

std::int32_t system_of_aspect_ratio(int code) {
  if (code == 3 || code == 8) return kPal;
  if (code == 6 || code == 12) return kNtsc;
  return kUnknown;
}

void parse_sequence_header(const std::array<std::uint8_t, kSequenceSize>& header, VideoInfo& info) {
  info.width = header[4] << 4 | header[5] >> 4;
  info.height = (header[5] & 0x0F) << 8 | header[6];
  info.frame_rate = header[7] & 0x0F;
  const std::int32_t rate = (header[8] << 16 | header[9] << 8 | header[10]) >> 6;
  const bool mpeg1 = info.mpeg_version == 1;
  info.bit_rate = mpeg1 && rate == kVariableRate ? 0 : rate * 400;
  info.video_format = mpeg1 ? system_of_aspect_ratio(header[7] >> 4) : kUnknown;
}

void parse_sequence_extension(const std::array<std::uint8_t, kExtensionSize>& extension, VideoInfo& info) {
  const int n = extension[9] >> 5 & 0x03, d = extension[9] & 0x1F;
  if (n != 0 || d != 0) std::printf("frame_rate_extension_n/_d %d %d\n", n, d);
  info.frame_rate = info.frame_rate * (n + 1) / (d + 1);
}

void parse_display_extension(const std::array<std::uint8_t, kDisplayExtensionSize>& extension,
                             VideoInfo& info) {
  if (extension[4] >> 4 == kDisplayExtension) info.video_format = extension[4] >> 1 & 0x07;
}

// The system that uses the frame rate: `otherwise` for what is no frame rate code.
std::int32_t system_of_frame_rate(std::int32_t frame_rate, std::int32_t height, std::int32_t otherwise) {
  switch (frame_rate) {
    case 1:
    case 4:
    case 5:
    case 7:
    case 8:
      return kNtsc;
    case 2:
      return height == 240 ? kNtsc : kPal;
    case 3:
    case 6:
      return kPal;
    default:
      return otherwise;
  }
}

// Bytes passed over after each group of pictures: at most a second of an MPEG-1 stream of known rate.
std::uint64_t jump_after_group(const VideoInfo& info) {
  std::int32_t jump = info.width * info.height;
  if (info.mpeg_version == 1 && info.bit_rate != 0) jump = std::min(jump, info.bit_rate / 8);
  return static_cast<std::uint64_t>(jump);
}

}  // namespace

int ProbeMpegVideo(const std::string& path, VideoInfo& info) {
  File file(path);
  if (!file) {
    std::printf("Can not open <%s> file\n", path.c_str());
    return -1;
  }
  MpegHeaders headers;
  const bool found = find_mpeg_headers(file, path, headers);
  info.mpeg_version = headers.version;
  if (!found) return -1;

  KnownHeaders known{file, path};
  parse_sequence_header(known.read<kSequenceSize>(*headers.sequence, 1), info);
  if (headers.first_extension)
    parse_sequence_extension(known.read<kExtensionSize>(*headers.first_extension, 3), info);
  if (headers.second_extension)
    parse_display_extension(known.read<kDisplayExtensionSize>(*headers.second_extension, 5), info);
  if (info.video_format != kPal && info.video_format != kNtsc)
    info.video_format = system_of_frame_rate(info.frame_rate, info.height, info.video_format);
  known.read<kGroupSize>(*headers.group, 7);  // only to tell a file that ends within it

  const bool asked = info.duration == kAskDuration;
  info.duration = asked ? mpeg_playing_time(file, path, jump_after_group(info), known.result) : 0;
  info.bit_rate = 0;
  return known.result;
}

int get_video_info(const std::string& path, VideoInfo& info) {
  const std::string_view extension = GetFileExtension(path, "");
  const bool is_mpeg =
      std::ranges::any_of(std::array{".mpg", ".mpeg", ".mpeg2"},
                          [extension](const char* name) { return equal_ignoring_case(extension, name); });
  return is_mpeg ? ProbeMpegVideo(path, info) : -1;
}

}  // namespace corvexal
