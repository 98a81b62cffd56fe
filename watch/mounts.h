// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"

namespace corvexal {

// The path without links in it, as far as it exists.
[[nodiscard]] std::string real_path(const std::string& path);

// The mounts that a folder lies on: the one that holds it, and those below it.
struct FolderMounts {
  std::vector<std::string> points;  // mount points ("" for "/"), first the one that holds the folder
  std::string numbers;              // of the mounts; others when one was replaced

  bool operator==(const FolderMounts&) const = default;
};

// Reads a table of mounts in the form of /proc/PID/mountinfo. `folder` has no links in it and no "/" at its
// end.
[[nodiscard]] FolderMounts mounts_of(std::string_view folder, std::string_view table);

// The kernel's table of mounts.
class MountTable {
 public:
  MountTable();

  // Shows an exceptional condition (POLLPRI) once after a change of the table.
  [[nodiscard]] int descriptor() const { return changes_.get(); }

  // The mounts of the folder now.
  [[nodiscard]] static FolderMounts of(const std::string& folder);

 private:
  Descriptor changes_;
};

}  // namespace corvexal
