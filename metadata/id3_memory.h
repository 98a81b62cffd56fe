// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "metadata/id3_frames.h"

namespace corvexal {

// The most memory, in bytes, that libid3tag takes for a frame: for copies of its bytes, and for what it
// builds beside them. A character of a text becomes a word of memory, so the latter may come to many times
// the frame.
struct Id3FrameMemory {
  std::uint64_t copied = 0;
  std::uint64_t built = 0;
};

[[nodiscard]] Id3FrameMemory id3_frame_memory(const Id3Frame& frame);

}  // namespace corvexal
