// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "catalogue/database.h"
#include "catalogue/like_folders.h"

namespace corvexal {

// The distinct folders of each class of media, by MediaClass; absent until they are read.
using FolderSets = std::array<std::optional<FolderSet>, 3>;

// Reads those that are absent. One that cannot be read stays absent.
void read_folders(Database& db, FolderSets& sets);

// Recomputes have_video, have_music and have_photo of every folder row: 1 when any row of the class lies in
// the folder or below it. Returns 1, or 0 at the first failure, which is printed; folders before it keep
// their new flags. Folders that are absent are read when the first folder row asks for them.
int Assign_pathtbl_media(Database& db, FolderSets sets = {});

// The same, but the result is the number of folder rows whose flags were wrong, absent after a failure.
// Those alone are written, and nothing when `write` is false.
std::optional<std::size_t> mend_folder_flags(Database& db, FolderSets sets, bool write);

}  // namespace corvexal
