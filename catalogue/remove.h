// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "catalogue/session.h"

namespace corvexal {

// Whether the removal of a file rebuilds the sort tables, which commits, or leaves that to its caller.
enum class Rebuild { kNow, kByCaller };

// Takes a media file, which need not exist, out of the catalogue: deletes its row, marks playlists as pending
// when it is music, and rebuilds the class's sort tables, which closes the catalogue, unless that is left to
// the caller. `path` is a full path in the device's character set. Returns 0, whether or not there was such a
// row; or -1, with nothing done, when the path's extension is none that can be removed (so for a folder).
int RemoveMediaFile(Session& session, const std::string& path, Rebuild rebuild = Rebuild::kNow);

// Delete every row of a music, photo or video file, given by its full path in UTF-8. Return 0, no row being
// no error, or -1 when the statement failed.
int DelAudioEntry2(Database& db, const std::string& path);
int DelImageEntry2(Database& db, const std::string& path);
int DelVideoEntry2(Database& db, const std::string& path);

}  // namespace corvexal
