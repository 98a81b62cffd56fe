// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_readers.h"

namespace corvexal {

// GIF: 6 width | 8 height | 10 flags, whose low three bits are the colour table's depth less 1.
void read_gif(FileWindow& file, ImageProbe& probe) {
  parse_number(file, 6, 2, std::endian::little, probe.width);
  parse_number(file, 8, 2, std::endian::little, probe.height);
  if (const Bytes flags = file.at(10, 1); !flags.empty()) probe.color_depth = (flags[0] & 7) + 1;
}

}  // namespace corvexal
