// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "base/file.h"

namespace corvexal {

// The playing time of a video in seconds, from the time codes of its groups of pictures, saturated to 32
// bits. `jump` bytes are passed over after each of them. Reads the whole file otherwise, 4096 bytes at a
// time. A read error is told on standard output, sets `result` to -1 and ends the measuring.
[[nodiscard]] std::int32_t mpeg_playing_time(File& file, const std::string& path, std::uint64_t jump,
                                             int& result);

}  // namespace corvexal
