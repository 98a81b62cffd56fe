// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  corvexal::try_input({data, size});
  return 0;
}
