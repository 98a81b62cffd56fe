// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_video.h"

#include <cstdlib>

#include "fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::MemoryFile file({data, size});
  corvexal::VideoInfo info, timed;
  timed.duration = corvexal::kAskDuration;
  const int result = corvexal::ProbeMpegVideo(file.path(), info);
  const int timed_result = corvexal::ProbeMpegVideo(file.path(), timed);
  if (info.bit_rate != 0 || info.duration != 0 || timed.duration < 0) std::abort();

  timed.duration = 0;  // asking for the playing time changes nothing else
  if (result != timed_result || info != timed) std::abort();
  return 0;
}
