#include "tests/metadata/failing_reads.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <limits>

namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
std::int64_t unreadable_from = kNever;

}  // namespace

// Stands before the C library's own.
extern "C" ssize_t pread64(int descriptor, void* into, std::size_t count, off64_t offset) {
  using Read = ssize_t (*)(int, void*, std::size_t, off64_t);
  static const auto read = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread64"));
  if (offset >= unreadable_from) {
    errno = EIO;
    return -1;
  }
  const auto readable = std::min<std::uint64_t>(count, unreadable_from - offset);
  return read(descriptor, into, static_cast<std::size_t>(readable), offset);
}

namespace corvexal::testing {

FailingReads::FailingReads(std::int64_t offset) {
  unreadable_from = offset;
}

FailingReads::~FailingReads() {
  unreadable_from = kNever;
}

}  // namespace corvexal::testing
