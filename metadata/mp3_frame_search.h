// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "metadata/frame_window.h"

namespace corvexal {

// The pieces in which a file is searched.
using Mp3Block = FrameWindow<1024>;

struct FirstFrame {
  std::size_t index = 0;  // in the block that it was found in
  Mp3FrameInfo info;      // first_frame_offset included
};

// Looks for the first frame of the file at `path` that another one follows or that has a Xing header. `block`
// stands on the file's first bytes, and on those that hold the frame afterwards. The search begins after an
// ID3v2 tag, and starts over at 0 when no frame stands right there. Nothing, with a line in the log, when the
// file ends before. Reads the file once, a bounded piece at a time.
[[nodiscard]] std::optional<FirstFrame> find_first_frame(const std::string& path, Mp3Block& block);

}  // namespace corvexal
