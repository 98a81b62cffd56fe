#pragma once

#include <string>

namespace corvexal {

// Adds one file to the catalogue, unless a row for its UTF-8 folder and name is there already, and rebuilds
// the sort tables of its class (which commits and closes the catalogue). Returns
//   1  the file was added or was there already; its extension is of no media class; it is a photo of no known
//   format 0  the path has no "." or 6 or more characters follow the last one; a photo, video, playlist or
//   subtitle insert failed
//  -1  a music insert failed
int MmsAddMediaFile(const std::string& path);

}  // namespace corvexal
