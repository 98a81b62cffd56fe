// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "base/descriptor.h"

namespace corvexal {

// True for the errno values that say of a path that nothing is there. Any other one (a disk that does not
// answer, no rights, no memory) says nothing of it.
[[nodiscard]] bool says_gone(int error);

// Whether a full path may be read for whoever wrote it: its real path lies below `mount_path`, or every
// symbolic link on the way belongs to root or, without root's rights, to the user that runs. Who may write to
// a share could else make root read any file of the device.
[[nodiscard]] bool leads_where_it_may(const std::string& path, const std::string& mount_path);

// Writes all of the bytes; false with errno set when that is not possible.
[[nodiscard]] bool write_all(const Descriptor& to, std::span<const std::uint8_t> bytes);

// A regular file open for reading. Directories, pipes and devices count as files that cannot be opened, and
// are not: they have no bytes to look at, and a pipe would keep the run waiting.
class File {
 public:
  // Opens the file, waiting for a file server that holds a lease on it to give it up; on failure the object
  // is empty and errno says why (EINVAL for what is no regular file).
  explicit File(const std::string& path);

  // Takes over a descriptor that is open for reading; what is no regular file leaves the object empty.
  explicit File(Descriptor file);

  explicit operator bool() const { return static_cast<bool>(fd_); }

  // Size in bytes when the file was opened; 0 for an empty object.
  [[nodiscard]] std::uint64_t size() const { return size_; }

  // Reads from `offset` until `into` is full or the file ends. Returns the number of bytes read, which is
  // short only at the end of the file or, with failed() true and errno set, after a read error. Nothing is
  // read past size(), so that a walk through a file that another program appends to comes to an end.
  std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into);

  // The first offset from `offset` on that lies in no hole of the file, whose bytes are all zero; size() when
  // there is none. A file system that knows no holes has none.
  [[nodiscard]] std::uint64_t next_data(std::uint64_t offset);

  // Of the pieces of `size` bytes that begin at `offset` and every `step` bytes after it, the last one before
  // the next data: all up to it are zero. `offset` itself when not even two lie in a hole.
  [[nodiscard]] std::uint64_t last_in_hole(std::uint64_t offset, std::uint64_t size, std::uint64_t step);

  // A new descriptor of the same file for a library to read through, which has the caller close it, and no
  // child of the run inherits it; -1 with errno set on failure. It stands at the file's beginning.
  [[nodiscard]] int duplicate() const;

  // True once a read has failed.
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  Descriptor fd_;
  std::uint64_t size_ = 0;
  bool failed_ = false;
  std::uint64_t data_begin_ = 0, data_end_ = 0;  // a part of the file that is known to have no hole
};

}  // namespace corvexal
