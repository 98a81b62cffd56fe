#include "fuzz/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace corvexal {

MemoryFile::MemoryFile(Bytes content) : fd_(memfd_create("input", MFD_CLOEXEC)) {
  if (fd_ < 0 || write(fd_, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
    std::abort();
}

MemoryFile::~MemoryFile() {
  close(fd_);
}

}  // namespace corvexal
