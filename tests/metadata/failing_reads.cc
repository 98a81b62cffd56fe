// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/metadata/failing_reads.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

// Stands before the C library's own.
extern "C" ssize_t pread64(int descriptor, void* into, std::size_t count, off64_t offset) {
  using Read = ssize_t (*)(int, void*, std::size_t, off64_t);
  static const auto read = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread64"));
  const std::int64_t readable = corvexal::testing::FailingReads::from - offset;
  if (readable > 0)
    return read(descriptor, into, static_cast<std::size_t>(std::min<std::uint64_t>(count, readable)), offset);
  errno = EIO;
  return -1;
}
