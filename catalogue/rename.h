// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "catalogue/database.h"

namespace corvexal {

// Carries a folder's rename into the catalogue: in every folder row's path and in every media row's UTF_Path
// and Real_Path the first occurrence of the old path is replaced by the new one. Rows are selected by SQL's
// "like 'OLD%'", so siblings whose names begin alike are rewritten too, and wildcards in the old path act; a
// selected row that does not hold the old path letter by letter stays as it is. Real_Path receives the same
// text as UTF_Path. Nothing else changes, no file is opened, and nothing is committed.
//
// Returns 0 always: failures are printed, and a table that cannot be read ends the work there.
int Update_File_Path(Database& db, std::string_view old_path, std::string_view new_path);

}  // namespace corvexal
