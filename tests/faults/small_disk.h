// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace corvexal::testing {

// Runs `body` in a process of its own that sees a disk of `size` KiB at the existing folder `path`, and
// passes its test failures on. False where the system allows no such disk.
bool on_small_disk(const std::string& path, std::uint64_t size, const std::function<void()>& body);

// Fills the disk that holds `folder` up to this many free KiB with a file there; gone with the object.
class FilledDisk {
 public:
  FilledDisk(const std::string& folder, std::uint64_t free);
  ~FilledDisk();
  FilledDisk(const FilledDisk&) = delete;
  FilledDisk& operator=(const FilledDisk&) = delete;

 private:
  std::string filler_;
};

}  // namespace corvexal::testing
