// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "watch/folder_set.h"

namespace corvexal {

struct Rename {
  std::string old_folder, new_folder;
};

// What one start of the sync has to do.
struct Batch {
  std::vector<Rename> renames;          // in the order in which they happened
  FolderSet::Folders folders;           // after the renames
  std::vector<std::string> unfinished;  // files that are still being written: to be left as they are

  [[nodiscard]] bool empty() const { return renames.empty() && folders.empty(); }
};

}  // namespace corvexal
