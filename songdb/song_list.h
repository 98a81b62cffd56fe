// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace corvexal {

// Prints each record of a song store as one line of JSON on standard output, in gdbm's key order: "id", then
// every stored field by its name in SongInfo, absent texts as null. "path" is the whole stored path. The file
// is only read, without a lock: nothing is created, repaired or written. Damage is named on standard error; a
// damaged record is printed as far as it can be read. Returns 0, or 1 when the file cannot be opened or
// printed, or is damaged.
int print_song_store(const std::string& path);

}  // namespace corvexal
