#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace corvexal {

File::File(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (fd_ < 0) return;
  struct stat status {};
  if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
    size_ = static_cast<std::uint64_t>(status.st_size);
    return;
  }
  close(fd_);
  fd_ = -1;
  errno = EINVAL;
}

File::~File() {
  if (fd_ >= 0) close(fd_);
}

std::uint64_t File::next_data(std::uint64_t offset) const {
  const off_t data = lseek(fd_, static_cast<off_t>(offset), SEEK_DATA);
  if (data >= 0) return std::min(static_cast<std::uint64_t>(data), size_);
  return errno == ENXIO ? size_ : offset;
}

int File::duplicate() const {
  const int copy = fcntl(fd_, F_DUPFD_CLOEXEC, 0);
  if (copy >= 0) lseek(copy, 0, SEEK_SET);
  return copy;
}

std::size_t File::read_at(std::uint64_t offset, std::span<std::uint8_t> into) {
  if (offset >= size_) return 0;
  into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - offset)));
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t n = pread(fd_, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) failed_ = true;
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

}  // namespace corvexal
