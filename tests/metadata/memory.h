// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <dlfcn.h>
#include <malloc.h>
#include <sys/resource.h>

#include <cstdlib>

namespace corvexal::testing {

// Whether memory can be measured: an emulator's or a sanitizer's own counts as well.
inline bool memory_is_the_programs() {
  return !CORVEXAL_EMULATED && dlsym(RTLD_DEFAULT, "__asan_init") == nullptr;
}

// Ends the process: with 0 when `read` returns true and takes at most so many MiB of memory. To be forked
// for.
[[noreturn]] inline void read_and_end(long mebibytes, const auto& read) {
  malloc_trim(0);  // or the process would find memory that it need not ask for
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  const bool right = read();
  getrusage(RUSAGE_SELF, &after);
  std::_Exit(right && after.ru_maxrss - before.ru_maxrss <= mebibytes << 10 ? 0 : 1);
}

}  // namespace corvexal::testing
