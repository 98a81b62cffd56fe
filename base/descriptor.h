// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace corvexal {

// Owns a file descriptor; -1 stands for none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }

  explicit operator bool() const { return fd_ >= 0; }
  [[nodiscard]] int get() const { return fd_; }
  // Another descriptor of the same open file, whose position the two share; empty on failure, errno set.
  [[nodiscard]] Descriptor duplicate() const { return Descriptor(fcntl(fd_, F_DUPFD_CLOEXEC, 0)); }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

// The path by which this process reaches what one of its descriptors stands for.
[[nodiscard]] inline std::string descriptor_path(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace corvexal
