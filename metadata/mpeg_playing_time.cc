// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_playing_time.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "base/saturate.h"
#include "metadata/mpeg_headers.h"

namespace corvexal {
namespace {

// Group of pictures: 4 time code, big-endian: bits 30-26 hours | 25-20 minutes | 19 marker | 18-13 seconds.
constexpr std::uint32_t kMarker = 0x80000;

// Adds up runs of time codes that follow each other closely, so that spliced recordings count each part.
class PlayingTime {
 public:
  void add(std::int32_t seconds) {
    if (current_ == 0) first_ = current_ = seconds;
    if (seconds < current_ + kGap) current_ = std::max(current_, seconds);
    if (std::abs(seconds - current_) >= kGap) {
      total_ += run_length();
      first_ = current_ = seconds;
    }
  }

  [[nodiscard]] std::int64_t total() const { return total_ + (run_is_open() ? run_length() : 0); }

 private:
  static constexpr std::int32_t kGap = 4;  // seconds between two runs

  [[nodiscard]] bool run_is_open() const { return current_ != 0; }  // so no run begins at time 0
  [[nodiscard]] std::int64_t run_length() const { return current_ - first_ + 1; }

  std::int64_t total_ = 0;
  std::int32_t first_ = 0, current_ = 0;
};

void parse_time_code(std::uint32_t code, PlayingTime& time) {
  const auto bits = [code](int lowest, std::uint32_t mask) {
    return static_cast<std::int32_t>(code >> lowest & mask);
  };
  const std::int32_t hours = bits(26, 0x1F), minutes = bits(20, 0x3F), seconds = bits(13, 0x3F);
  if (minutes < 60 && seconds < 60) time.add((hours * 60 + minutes) * 60 + seconds);
}

// Parses the groups of pictures that lie in the block wholly and outside the jumps. Returns the index to go
// on from, which may lie far after the block; at least 1 for a block of eight bytes or more.
std::uint64_t parse_groups(Bytes block, std::uint64_t jump, PlayingTime& time) {
  std::uint64_t i = 0;
  while (i + kGroupSize <= block.size()) {
    const Bytes group = block.subspan(static_cast<std::size_t>(i), kGroupSize);
    if (start_code(group) != kGroupOfPictures) {
      ++i;
      continue;
    }
    std::uint32_t code = 0;
    if (!ByteReader(group.subspan(kStartCodeSize)).be32(code) || (code & kMarker) == 0) {
      i += kStartCodeSize;
      continue;
    }
    parse_time_code(code, time);
    i += kGroupSize + jump;
  }
  return i;
}

int read_error(const std::string& path) {
  std::perror("read");
  std::printf("\nRead error10(%s)\n", path.c_str());
  return -1;
}

}  // namespace

std::int32_t mpeg_playing_time(File& file, const std::string& path, std::uint64_t jump, int& result) {
  PlayingTime time;
  std::array<std::uint8_t, kMpegBlockSize> block{};
  for (std::uint64_t offset = 0;;) {
    const std::size_t size = file.read_at(offset, block);
    if (size < kGroupSize) {
      if (file.failed() && offset + size < file.size()) result = read_error(path);
      break;
    }
    offset += parse_groups(Bytes(block).first(size), jump, time);
    offset = file.last_in_hole(offset, block.size(), block.size() - kGroupSize + 1);
  }
  return saturated(time.total());
}

}  // namespace corvexal
