// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

namespace corvexal {

// What a source saw. Only what a scan would look at is reported: nothing hidden, and of the files those alone
// whose extension has a place in the catalogue. All paths are full ones, as the share's own path begins.
enum class ChangeKind {
  kFileBegun,       // a new file, which may still be open for writing
  kFileArrived,     // a file that was moved or linked to `path`
  kFileClosed,      // a file was written and is closed
  kFileTouched,     // a file's date, owner or permissions changed
  kFileGone,        // a file was deleted or moved away
  kFolderAppeared,  // a folder was made or moved here, with whatever is in it
  kFolderTouched,   // a folder's owner or permissions changed
  kFolderGone,      // a folder was deleted or moved out of the share
  kFolderRenamed,   // the folder `old_path` is now `path`
  kLost,            // changes are missing; no path
};

struct DiskChange {
  ChangeKind kind;
  std::string path;
  std::string old_path;  // of a renamed folder only
};

using Report = std::function<void(const DiskChange&)>;

}  // namespace corvexal
