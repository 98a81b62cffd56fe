#pragma once

#include <string>

#include "songdb/gdbm_file.h"

namespace corvexal {

// Both functions follow a link to the store and leave it; a new file is made in the folder "<store>.new"
// first.

// Opens the song store's file for reading and writing, every write synced. It is made where it is missing or
// empty; with `emptied`, and when the record of its first key is of another version, it is replaced by an
// empty one that keeps owner and permissions where it can. A damaged file is rebuilt. On failure nothing, the
// reason on standard error and errno set; what is no gdbm file of this host is left as it is.
[[nodiscard]] GdbmFile open_store_file(const std::string& name, bool emptied);

// Opens a damaged store's file that is not open now, rebuilt from every record that can still be read, with a
// line on standard error. The work is done on a copy. On failure nothing, the file as it was, the reason on
// standard error and errno set.
[[nodiscard]] GdbmFile rebuild_store_file(const std::string& name);

}  // namespace corvexal
