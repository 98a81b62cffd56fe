#pragma once

#include <string>

#include "catalogue/database.h"

namespace corvexal {

// 1 while the removal of a file rebuilds the sort tables and commits by itself. With 0 the next removal
// leaves that to its caller and sets this to 1 again.
extern int commit_after_remove;

// Takes a media file, which need not exist, out of the catalogue: deletes its row, marks playlists as pending
// when it is music, and rebuilds the class's sort tables, which closes the catalogue. `path` is a full path
// in the device's character set. Returns 0, whether or not there was such a row; or -1, with nothing done,
// when the path's extension is none that can be removed (so for a folder).
int RemoveMediaFile(const std::string& path);

// Delete every row of a music, photo or video file, given by its full path in UTF-8. Return 0, no row being
// no error, or -1 when the statement failed; `retval` and zErrMsg tell why.
int DelAudioEntry2(Database& database, const std::string& path);
int DelImageEntry2(Database& database, const std::string& path);
int DelVideoEntry2(Database& database, const std::string& path);

}  // namespace corvexal
