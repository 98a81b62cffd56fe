// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "catalogue/session.h"

namespace corvexal {

// Adds one file to the catalogue, unless a row for its UTF-8 folder and name is there already, and rebuilds
// the sort tables of its class (which commits and closes the catalogue).
//
// Returns 1 when the file was added or was there already, when its extension is of no media class, and for a
// photo of no known format; 0 when the path has no "." or 6 or more characters follow the last one, and when
// the insert of a photo, video, playlist or subtitle failed; -1 when the insert of a song failed.
int MmsAddMediaFile(Session& session, const std::string& path);

}  // namespace corvexal
