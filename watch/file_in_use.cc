// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/file_in_use.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "base/descriptor.h"

namespace corvexal {
namespace {

// What opening can tell: a lease that a file server holds for a client that writes counts as writing.
FileState state_after_failure() {
  switch (errno) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
      return FileState::kGone;
    case EWOULDBLOCK:
      return FileState::kWritten;
    default:
      return FileState::kUnknown;
  }
}

}  // namespace

// The kernel grants a read lease on a file that nobody has open for writing, and refuses it with EAGAIN
// otherwise. It is given back at once; whoever opens the file in between waits for that moment.
FileState file_state(const std::string& path) {
  const Descriptor place(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!place) return state_after_failure();
  struct stat status {};
  if (fstat(place.get(), &status) != 0) return FileState::kUnknown;
  if (!S_ISREG(status.st_mode)) return FileState::kGone;
  const Descriptor file(open(descriptor_path(place.get()).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) return errno == EWOULDBLOCK ? FileState::kWritten : FileState::kUnknown;
  if (fcntl(file.get(), F_SETLEASE, F_RDLCK) != 0)
    return errno == EAGAIN ? FileState::kWritten : FileState::kUnknown;
  fcntl(file.get(), F_SETLEASE, F_UNLCK);
  return FileState::kComplete;
}

}  // namespace corvexal
