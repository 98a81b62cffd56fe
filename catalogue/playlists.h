#pragma once

#include "catalogue/database.h"

namespace corvexal {

// Reads every M3U and PLS file that the catalogue knows and stores in its row's PlsFile the `No` of each song
// that it names, each followed by ",", in the order of the entries. An entry is a file name in the playlist's
// own folder; one that names another folder is not found. At most 256 songs a playlist are kept. A file is
// read in pieces of 511 characters, a longer line counting as several; memory does not grow with it.
//
// What is found missing is printed. A folder where a row points counts as an empty playlist. Returns 1, or 0
// at the first playlist that cannot be opened (regular files only) or stored, or when the playlists cannot be
// read from the catalogue.
int parser_playlist(Database& db);

}  // namespace corvexal
