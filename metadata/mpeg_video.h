// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace corvexal {

// What is known of one MPEG video file. The caller leaves all of it zero, save for `duration`.
struct VideoInfo {
  std::int32_t width = 0;         // pixels, 12 bits
  std::int32_t height = 0;        // pixels, 12 bits
  std::int32_t frame_rate = 0;    // frame_rate_code; for MPEG-2 times its extension's (n + 1) / (d + 1)
  std::int32_t bit_rate = 0;      // bit/s while the probe runs, 0 when it has returned
  std::int32_t mpeg_version = 0;  // 1 or 2; 0 when unknown
  std::int32_t video_format = 0;  // television system: 1 of 625 lines (PAL), 2 of 525 (NTSC), -1 unknown
  std::int32_t duration = 0;  // in: kAskDuration asks for the playing time; out: seconds when asked, else 0

  bool operator==(const VideoInfo&) const = default;
};

// The value of VideoInfo::duration that asks for the playing time. Measuring it reads the file to its end.
inline constexpr std::int32_t kAskDuration = 55981;

// Reads the headers of an MPEG-1 (ISO/IEC 11172-2) or MPEG-2 (ISO/IEC 13818-2) video, an elementary or a
// program stream, looking for them in the first 100 KB or the first 120th of the file, whichever is more. The
// file is read 4096 bytes at a time; failures are told on standard output.
// Returns 0; -1 when a read failed or came short, which does not stop the decoding of what is there; or -1
// with all but mpeg_version as it was when the file cannot be opened or a needed header is missing.
int ProbeMpegVideo(const std::string& path, VideoInfo& info);

// ProbeMpegVideo for a path with the extension ".mpg", ".mpeg" or ".mpeg2", in whatever case; -1 at once for
// any other.
int get_video_info(const std::string& path, VideoInfo& info);

}  // namespace corvexal
