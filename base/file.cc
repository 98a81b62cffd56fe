#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvexal {

namespace {

bool is_regular(const Descriptor& file, struct stat& status) {
  if (fstat(file.get(), &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return true;
  errno = EINVAL;
  return false;
}

// Opens by descriptor what was looked at, so that nobody can put a pipe in its place meanwhile. Only so may
// the open wait: a file server that holds a lease on a file, as on one that it has just written, is asked to
// give it up and does within a minute.
Descriptor reopened(const Descriptor& seen, const std::string& path) {
  Descriptor file(open(descriptor_path(seen.get()).c_str(), O_RDONLY | O_CLOEXEC));
  const bool no_proc = !file && errno == ENOENT;
  return no_proc ? Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) : std::move(file);
}

}  // namespace

File::File(const std::string& path) {
  const Descriptor seen(open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  if (!seen || !is_regular(seen, status)) return;
  Descriptor file = reopened(seen, path);
  if (!file || !is_regular(file, status)) return;
  size_ = static_cast<std::uint64_t>(status.st_size);
  fd_ = std::move(file);
}

std::uint64_t File::next_data(std::uint64_t offset) const {
  const off_t data = lseek(fd_.get(), static_cast<off_t>(offset), SEEK_DATA);
  if (data >= 0) return std::min(static_cast<std::uint64_t>(data), size_);
  return errno == ENXIO ? size_ : offset;
}

int File::duplicate() const {
  const int copy = fcntl(fd_.get(), F_DUPFD_CLOEXEC, 0);
  if (copy >= 0) lseek(copy, 0, SEEK_SET);
  return copy;
}

std::size_t File::read_at(std::uint64_t offset, std::span<std::uint8_t> into) {
  if (offset >= size_) return 0;
  into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - offset)));
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t n =
        pread(fd_.get(), into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) failed_ = true;
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

}  // namespace corvexal
