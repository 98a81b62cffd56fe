#include "metadata/mp3_mean_bitrate.h"

#include "base/log.h"
#include "metadata/frame_window.h"
#include "metadata/reader_log.h"

namespace corvexal {
namespace {

using Middle = FrameWindow<2900>;
constexpr std::size_t kMiddleEnd = 2900 - kMp3HeaderSize;
constexpr int kAveragedFrames = 10;

// Index of the first frame of the window, when another frame follows it.
std::optional<std::size_t> find_middle_frame(Middle& middle) {
  for (std::size_t index = 0;; ++index) {
    index = middle.next_sync(index, kMiddleEnd);
    if (index >= kMiddleEnd) {
      err_log(kVerbose, kReaders, "Could not find frame... quitting\n");
      return std::nullopt;
    }
    Mp3FrameInfo info;
    if (mp3_decode_header(middle.header(index), info) != 0) continue;
    const NextFrame next = middle.after_frame(index, info);
    if (next == NextFrame::found) return index;
    if (next == NextFrame::unreadable) {
      err_log(kVerbose, kReaders, "Could not read frame header\n");
      return std::nullopt;
    }
  }
}

// The sum of the bit rates of ten frames from `index` on.
std::optional<std::int32_t> sum_bitrates(Middle& middle, std::uint64_t index) {
  std::int32_t sum = 0;
  for (int i = 0; i < kAveragedFrames; ++i) {
    Mp3FrameInfo frame;
    const NextFrame result = middle.decode(index, frame);
    if (result == NextFrame::unreadable) err_log(kVerbose, kReaders, "Could not read frame header\n");
    if (result == NextFrame::none) err_log(kVerbose, kReaders, "Invalid frame header while averaging\n");
    if (result != NextFrame::found) return std::nullopt;
    sum += frame.bitrate;
    index += static_cast<std::uint64_t>(frame.frame_length);
  }
  return sum;
}

}  // namespace

void mp3_average_bitrate(File& file, Mp3FrameInfo& info) {
  err_log(kVerbose, kReaders, "Starting averaging bitrate\n");
  Middle middle(file);
  if (!middle.read(file.size() / 2)) return;
  const std::optional<std::size_t> first = find_middle_frame(middle);
  if (!first) return;
  const std::optional<std::int32_t> sum = sum_bitrates(middle, *first);
  if (!sum) return;
  err_log(kVerbose, kReaders, "Old bitrate: %d\n", info.bitrate);
  info.bitrate = *sum / kAveragedFrames;
  err_log(kVerbose, kReaders, "New bitrate: %d\n", info.bitrate);
}

}  // namespace corvexal
