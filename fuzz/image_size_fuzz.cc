// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_size.h"

#include <cstdlib>

#include "fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::MemoryFile file({data, size});
  corvexal::ImageProbe probe;
  probe.path = file.path();
  const bool recognised = corvexal::get_img_size(probe) == 1;
  if (recognised != (probe.file_size == size && size > 0)) std::abort();
  if (!recognised && (probe.width != 0 || probe.height != 0 || probe.color_depth != 0)) std::abort();
  return 0;
}
