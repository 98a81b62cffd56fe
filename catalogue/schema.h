// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "catalogue/database.h"

namespace corvexal {

// The catalogue's file under a mount path, of which the first 99 characters count: every program on the
// device that opens the catalogue cuts it there.
[[nodiscard]] std::string catalogue_path(const std::string& mount_path);

// Creates the tables that the updater expects and the indexes that its look-ups profit from, each only where
// it is missing; nothing that exists is touched. Returns SQLite's result code.
int create_tables(Database& db);

// Opens the catalogue under a mount path for a look that writes nothing to the disk. Tables that are missing,
// or all of them where there is no catalogue, are there and empty. Returns SQLite's result code.
int open_to_look(Database& db, const std::string& mount_path);

// Creates the catalogue under a mount path: its folders, the database and its tables. Returns 0, or -1 after
// a line on standard error.
int create_catalogue(const std::string& mount_path);

}  // namespace corvexal
