// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/place.h"

namespace corvexal {

bool says_gone(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

namespace {

bool is_reached_by_trusted_links(const std::string& path) {
  for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    struct stat status {};
    const std::string part = path.substr(0, end);
    if (lstat(part.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && status.st_uid != 0 &&
        status.st_uid != geteuid())
      return false;
    if (end == std::string::npos) return true;
  }
}

bool lies_below(const std::string& path, const std::string& folder) {
  std::error_code error;
  const std::string real = std::filesystem::canonical(path, error).string();  // empty when it has none
  const std::string top = std::filesystem::canonical(folder, error).string();
  return !error && real.starts_with(top == "/" ? top : top + '/');
}

}  // namespace

bool leads_where_it_may(const std::string& path, const std::string& mount_path) {
  return is_reached_by_trusted_links(path) || lies_below(path, mount_path);
}

bool write_all(const Descriptor& to, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t n = write(to.get(), bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n == 0) errno = EIO;
    if (n <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(n));
  }
  return true;
}

namespace {

bool is_regular(const Descriptor& file, struct stat& status) {
  if (!file || fstat(file.get(), &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return true;
  errno = EINVAL;
  return false;
}

Descriptor open_regular(const std::string& path) {
  const Descriptor seen(open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  return is_regular(seen, status) ? reopen(seen, AT_FDCWD, path, O_RDONLY) : Descriptor();
}

}  // namespace

File::File(const std::string& path) : File(open_regular(path)) {}

File::File(Descriptor file) {
  struct stat status {};
  if (!is_regular(file, status)) return;
  size_ = static_cast<std::uint64_t>(status.st_size);
  fd_ = std::move(file);
}

std::uint64_t File::next_data(std::uint64_t offset) {
  if (offset >= data_begin_ && offset < data_end_) return offset;
  const off_t data = lseek(fd_.get(), static_cast<off_t>(offset), SEEK_DATA);
  if (data < 0 && errno == ENXIO) return size_;
  data_begin_ = data < 0 ? offset : static_cast<std::uint64_t>(data);
  const off_t hole = data < 0 ? -1 : lseek(fd_.get(), data, SEEK_HOLE);
  data_end_ = hole < 0 ? size_ : static_cast<std::uint64_t>(hole);
  return std::min(data_begin_, size_);
}

std::uint64_t File::last_in_hole(std::uint64_t offset, std::uint64_t size, std::uint64_t step) {
  const std::uint64_t data = next_data(offset), end = offset + size;
  return offset + (std::max(data, end) - end) / step * step;
}

int File::duplicate() const {
  lseek(fd_.get(), 0, SEEK_SET);  // which the copy shares
  return fd_.duplicate().release();
}

std::size_t File::read_at(std::uint64_t offset, std::span<std::uint8_t> into) {
  const std::uint64_t left = size_ - std::min(offset, size_);
  into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), left)));
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
