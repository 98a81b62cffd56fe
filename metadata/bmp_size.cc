// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_readers.h"

namespace corvexal {

// BMP: 18 width | 22 height | 28 bits per pixel. Clients of the catalogue rely on the low 16 bits alone of
// width and height.
void read_bmp(FileWindow& file, ImageProbe& probe) {
  parse_number(file, 18, 2, std::endian::little, probe.width);
  parse_number(file, 22, 2, std::endian::little, probe.height);
  parse_number(file, 28, 1, std::endian::little, probe.color_depth);
}

}  // namespace corvexal
