// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/metadata/failing_reads.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

// Stands before the C library's own.
extern "C" ssize_t pread64(int descriptor, void* into, std::size_t count, off64_t offset) {
  using Read = ssize_t (*)(int, void*, std::size_t, off64_t);
  static const auto read = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread64"));
  const std::int64_t readable = corvexal::testing::FailingReads::from - offset;
  if (readable > 0)
    return read(descriptor, into, std::cmp_less(readable, count) ? static_cast<std::size_t>(readable) : count,
                offset);
  errno = EIO;
  return -1;
}
