// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_mean_bitrate.h"

#include "base/log.h"
#include "metadata/frame_window.h"
#include "metadata/reader_log.h"

namespace corvexal {
namespace {

using Middle = FrameWindow<2900>;
constexpr std::size_t kLastIndex = Middle::kSize - kMp3HeaderSize - 1;
constexpr int kAveragedFrames = 10;

// Offset of the first frame of the window that another frame follows.
std::optional<std::uint64_t> find_middle_frame(const Middle& middle) {
  for (auto index = middle.next_header(0, kLastIndex); index;
       index = middle.next_header(*index + 1, kLastIndex)) {
    const auto length = static_cast<std::size_t>(mp3_frame_length(*middle.header(*index)));
    const auto next = middle.header(*index + length);
    if (!next) {
      err_log(kVerbose, kReaders, "Could not read frame header\n");
      return std::nullopt;
    }
    if (mp3_frame_length(*next) != 0) return middle.offset() + *index;
  }
  err_log(kVerbose, kReaders, "Could not find frame... quitting\n");
  return std::nullopt;
}

// The sum of the bit rates of ten frames from `offset` on.
std::optional<std::int32_t> sum_bitrates(FileWindow& file, std::uint64_t offset) {
  std::int32_t sum = 0;
  for (int i = 0; i < kAveragedFrames; ++i) {
    const Bytes header = file.at(offset, kMp3HeaderSize);
    if (header.size() < kMp3HeaderSize) {
      err_log(kVerbose, kReaders, "Could not read frame header\n");
      return std::nullopt;
    }
    Mp3FrameInfo frame;
    if (mp3_decode_header(header.first<kMp3HeaderSize>(), frame) != 0) {
      err_log(kVerbose, kReaders, "Invalid frame header while averaging\n");
      return std::nullopt;
    }
    sum += frame.bitrate;
    offset += static_cast<std::uint64_t>(frame.frame_length);
  }
  return sum;
}

}  // namespace

void mp3_average_bitrate(FileWindow& file, Mp3FrameInfo& info) {
  err_log(kVerbose, kReaders, "Starting averaging bitrate\n");
  Middle middle(file);
  if (!middle.read(file.file_size() / 2)) return;
  const std::optional<std::uint64_t> first = find_middle_frame(middle);
  if (!first) return;
  const std::optional<std::int32_t> sum = sum_bitrates(file, *first);
  if (!sum) return;
  err_log(kVerbose, kReaders, "Old bitrate: %d\n", info.bitrate);
  info.bitrate = *sum / kAveragedFrames;
  err_log(kVerbose, kReaders, "New bitrate: %d\n", info.bitrate);
}

}  // namespace corvexal
