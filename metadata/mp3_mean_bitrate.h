// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "metadata/file_window.h"
#include "metadata/mp3_header.h"

namespace corvexal {

// Replaces info.bitrate by the mean of ten consecutive frames from the middle of the file; leaves it as it is
// when there are no ten frames to be found there. Looks at 2900 bytes and what a frame in them can reach.
void mp3_average_bitrate(FileWindow& file, Mp3FrameInfo& info);

}  // namespace corvexal
