// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/byte_reader.h"
#include "metadata/mp3_header.h"

namespace corvexal {

// The Xing header, which encoders of variable bit rate put into the first frame of a stream:
//   name, "Xing" in any case of letters | 4 flags | 8 number of frames, when flag 1 is set | further fields
// Its numbers are 32-bit big-endian words, and it stands side_info_size bytes after the frame's header.

// True when the frame that begins at `index` of `bytes` has one. `bytes` reach at least to the end of its
// name.
[[nodiscard]] bool has_xing_header(Bytes bytes, std::size_t index, std::int32_t side_info_size);

// Sets info.xing_frames, when the frame has one that tells it. Only the low 16 bits of flags and number
// count: clients of the stores know songs of more than 65535 frames by the length that comes of it.
void read_xing_header(Bytes bytes, std::size_t index, Mp3FrameInfo& info);

}  // namespace corvexal
