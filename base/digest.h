// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string_view>

namespace corvexal {

// A 64-bit digest of what is added to it, in its order: FNV-1a, taken by words for numbers. The same in every
// run and on every machine. It tells apart what differs by accident; it is no protection against a forger.
class Digest {
 public:
  // A text and its length, so that "ab" and "c" differ from "a" and "bc".
  Digest& add(std::string_view text) {
    for (const char c : text) mix(static_cast<unsigned char>(c));
    return add(text.size());
  }
  Digest& add(std::uint64_t number) {
    mix(number);
    value_ ^= value_ >> 32;
    return *this;
  }

  // What changes with a file: its inode number, size and times.
  Digest& add(const struct stat& status) {
    add(status.st_ino).add(static_cast<std::uint64_t>(status.st_size));
    for (const timespec& time : {status.st_mtim, status.st_ctim})
      add(static_cast<std::uint64_t>(time.tv_sec)).add(static_cast<std::uint64_t>(time.tv_nsec));
    return *this;
  }

  [[nodiscard]] std::uint64_t value() const { return value_; }

 private:
  void mix(std::uint64_t word) { value_ = (value_ ^ word) * 0x100000001b3; }

  std::uint64_t value_ = 0xcbf29ce484222325;
};

}  // namespace corvexal
