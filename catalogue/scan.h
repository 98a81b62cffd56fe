#pragma once

#include <string>

#include "catalogue/session.h"

namespace corvexal {

// What a directory scan brings up to date.
enum ScanMode : unsigned {
  kScanBothStores = 0,     // catalogue rows and the song store
  kScanSongStore = 1,      // the song store only
  kScanFolderRowsToo = 2,  // catalogue rows, and a row for each folder
};

// Scans the tree at `folder` (given without a trailing "/"), breadth first: a folder's files, then its
// sub-folders in the order in which they were met. With mode 2 nothing is read: the folder's own row is
// written and that is all. A folder whose rows cannot be written is reported on standard output and does not
// stop the walk; the loss of the run's work does.
void ScanMediaDirectory(Session& session, const std::string& folder, unsigned mode);

// Reads one folder (with its trailing "/"): writes a row for each media file, hands music to the song store
// and queues the sub-folders. Hidden entries, symbolic links, what is neither file nor folder, and names that
// make the full path 512 bytes or longer are passed over. Returns 1 when the folder was read to its end, also
// when it cannot be read; 0 when a statement failed, which ends this folder.
int ScanMusic(Session& session, const std::string& folder, int depth, unsigned mode);

// The queue of folders that are still to be read. Popping returns 0 when it is empty.
void PushScanFolder(std::string folder, int depth);
int PopScanFolder(std::string& folder, int& depth);

}  // namespace corvexal
