// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "catalogue/session.h"

namespace corvexal {

// Removes from the catalogue every media row whose file, by the UTF-8 path as stored, can no longer be found.
// Folder rows and sort tables stay as they are. Many rows are committed in batches, the last ones are not.
// A file that the disk does not tell of keeps its row: the session is incomplete then, and a line on standard
// error says how many there are and why.
// Should the mount path itself be gone by then, a line on standard error says so, and what was removed.
// Returns 1, or 0 at the first table that cannot be read: it and those after it keep their rows.
int sync_mms_db(Session& session);

// Deletes the row of one folder, not those of its sub-folders, from a table whose column `path` holds folders
// in UTF-8. `path` is in the device's character set and must be the stored one to the byte: given with a
// trailing "/" it does not match a row stored without one. No such row is no error. Prints the outcome;
// returns 0 always.
int DeleteFolderRow(Session& session, const std::string& path, const char* table);

}  // namespace corvexal
