// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_video.h"

#include "fuzz/input.h"

void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  VideoInfo info, timed;
  timed.duration = kAskDuration;
  require(ProbeMpegVideo(file.path(), info) == ProbeMpegVideo(file.path(), timed));
  require(info.bit_rate == 0 && info.duration == 0 && timed.duration >= 0);
  timed.duration = 0;  // asking for the playing time changes nothing else
  require(info == timed);
}
