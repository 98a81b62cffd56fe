// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_size.h"

#include "fuzz/input.h"

void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  ImageProbe probe;
  probe.path = file.path();
  const bool recognised = get_img_size(probe) == 1;
  require(recognised == (probe.file_size == input.size() && !input.empty()));
  require(recognised || (probe.width == 0 && probe.height == 0 && probe.color_depth == 0));
}
