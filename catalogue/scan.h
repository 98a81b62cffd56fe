// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <string>

#include "catalogue/session.h"

namespace corvexal {

// Paths of so many bytes and more are no part of the catalogue.
inline constexpr std::size_t kFullPathLimit = 512;

// What a directory scan brings up to date.
enum class ScanMode {
  kBothStores,  // catalogue rows and the song store
  kSongStore,   // the song store only
  kFolderRows,  // catalogue rows, and a row for each folder
};

// Scans the tree at `folder` (given without a trailing "/"), breadth first: a folder's files, then its
// sub-folders in the order in which they were met. With kFolderRows nothing is read: the folder's own row is
// written and that is all. A folder whose rows cannot be written is reported on standard output and does not
// stop the walk; the loss of the run's work does.
void ScanMediaDirectory(Session& session, const std::string& folder, ScanMode mode);

// A folder that is still to be read.
struct ScanFolder {
  std::string path;  // with its trailing "/"
  int depth;         // below the share
};

// Reads one folder: writes a row for each media file, hands music to the song store and adds the sub-folders
// to `queue`. Hidden entries, symbolic links, what is neither file nor folder, and names that make the full
// path 512 bytes or longer are passed over. Returns 1 when the folder was read to its end, also when it
// cannot be read; 0 when a statement failed, which ends this folder.
int ScanMusic(Session& session, const ScanFolder& folder, ScanMode mode, std::deque<ScanFolder>& queue);

}  // namespace corvexal
