// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace corvexal {

// Gives memory that was freed back to the system, where the C library would keep it for itself: much of it,
// lying scattered between what is still in use, would never be used again.
inline void trim_heap() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace corvexal
