// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/byte_reader.h"

namespace corvexal {

// A file without a name that holds the given bytes, for readers that want a path. It lives as long as the
// object; aborts when the system does not give one.
class MemoryFile {
 public:
  explicit MemoryFile(Bytes content) : fd_(memfd_create("input", MFD_CLOEXEC)) {
    if (write(fd_, content.data(), content.size()) != static_cast<ssize_t>(content.size())) std::abort();
  }
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

}  // namespace corvexal
