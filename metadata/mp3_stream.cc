// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>

#include "base/log.h"
#include "base/saturate.h"
#include "metadata/mp3_frame_search.h"
#include "metadata/mp3_mean_bitrate.h"
#include "metadata/reader_log.h"
#include "metadata/xing_header.h"

namespace corvexal {
namespace {

void log_frame(const Mp3FrameInfo& info) {
  err_log(kVerbose, kReaders, " MPEG Version: %0.1g\n", info.version);
  err_log(kVerbose, kReaders, " Layer: %d\n", info.layer);
  err_log(kVerbose, kReaders, " Sample Rate: %d\n", info.samplerate);
  err_log(kVerbose, kReaders, " Bit Rate: %d\n", info.bitrate);
}

std::int32_t length_ms(const Mp3FrameInfo& info, std::uint64_t file_size) {
  const double bytes = static_cast<double>(file_size) - static_cast<double>(info.first_frame_offset);
  const double length = info.xing_frames != 0
                            ? info.xing_frames * info.samples_per_frame * 1000.0 / info.samplerate
                            : bytes * 8.0 / info.bitrate;
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<double>(length, Limits::min(), Limits::max()));
}

int no_first_block(const std::string& path, const File& file) {
  if (file.failed())
    err_log(kStreamFailure, kReaders, "Error reading: %s\n", std::strerror(errno));
  else
    err_log(kStreamFailure, kReaders, "Short file: %s\n", path.c_str());
  return -1;
}

}  // namespace

int scan_get_mp3fileinfo(const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) {
    err_log(kFileFailure, kReaders, "Could not open %s for reading\n", path.c_str());
    return -1;
  }
  return scan_mp3_stream(file, path, song);
}

int scan_mp3_stream(FileWindow& file, const std::string& path, SongInfo& song) {
  song.file_size = saturated(file.file_size());

  Mp3Block block(file);
  if (!block.read(0)) return no_first_block(path, file.file());
  std::optional<FirstFrame> first = find_first_frame(path, block);
  if (!first) return 0;

  Mp3FrameInfo& info = first->info;
  log_frame(info);
  read_xing_header(block.bytes(), first->index, info);
  mp3_average_bitrate(file, info);

  song.bitrate = info.bitrate;
  song.samplerate = info.samplerate;
  if (song.song_length == 0) song.song_length = length_ms(info, file.file_size());
  err_log(kVerbose, kReaders, " Song Length: %d\n", song.song_length);
  return 0;
}

}  // namespace corvexal
