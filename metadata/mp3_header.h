// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "base/byte_reader.h"

namespace corvexal {

inline constexpr std::size_t kMp3HeaderSize = 4;
inline constexpr std::int32_t kMp3LongestFrame = 2880;  // bytes
using Mp3HeaderBytes = std::span<const std::uint8_t, kMp3HeaderSize>;

// What one MPEG audio frame header says (ISO/IEC 11172-3, 13818-3 and the 2.5 extension), and what is noted
// of the stream beside it.
struct Mp3FrameInfo {
  std::int32_t layer = 0;              // 1 to 3
  std::int32_t bitrate = 0;            // kbit/s
  std::int32_t samplerate = 0;         // Hz
  std::int32_t stereo = 0;             // 0 when the last header byte's low bits are 3, else 1
  std::int32_t frame_length = 0;       // bytes, header included
  std::int32_t header_id = 0;          // second header byte without its protection bit
  std::int32_t samples_per_frame = 0;  // 384, 576 or 1152
  std::int32_t padding = 0;            // 1 when the frame is padded
  std::int32_t side_info_size = 0;     // bytes between the header and a Xing tag
  std::int32_t xing_frames = 0;        // frames of the stream by its Xing header, 0 when it does not say
  std::uint64_t first_frame_offset = 0;
  double version = 0;      // 1.0, 2.0 or 2.5
  std::int32_t valid = 0;  // 1 when the last decode succeeded
};

// The lengths of frames, 0 for headers that are not valid, by what tells them apart: of the second byte
// version and layer, of the third bit rate, sample rate and padding.
inline constexpr std::size_t kMp3SecondBytes = 16, kMp3ThirdBytes = 128;
using Mp3FrameLengths = std::array<std::int16_t, kMp3SecondBytes * kMp3ThirdBytes>;
extern const Mp3FrameLengths kMp3FrameLengths;

// The length of the frame that a header begins, in bytes, or 0 when the header is not valid. A search asks no
// more of most headers, and a file may be made of nothing else.
[[nodiscard]] inline std::int32_t mp3_frame_length(Mp3HeaderBytes bytes) {
  if (bytes[0] != 0xFF || bytes[1] < 0xE0) return 0;
  return kMp3FrameLengths[(bytes[1] >> 1 & 0xFU) * kMp3ThirdBytes + (bytes[2] >> 1)];
}

// The field side_info_size of a valid header.
[[nodiscard]] std::int32_t mp3_side_info_size(Mp3HeaderBytes bytes);

// The index of the first valid header that lies in `bytes` wholly and begins at an index from `index` to
// `last`; absent when there is none.
[[nodiscard]] std::optional<std::size_t> next_mp3_header(Bytes bytes, std::size_t index, std::size_t last);

// Decodes a frame header into `info`. Free format, reserved values and frames of more than kMp3LongestFrame
// bytes are not valid. Returns 0 with `valid` 1, or -1 with `valid` 0 and every other field as it was;
// xing_frames and first_frame_offset are the caller's own.
int mp3_decode_header(Mp3HeaderBytes bytes, Mp3FrameInfo& info);

}  // namespace corvexal
