#pragma once

#include "catalogue/media_types.h"
#include "catalogue/session.h"

namespace corvexal {

// Stands beside the classes of media for what is not of one class.
inline constexpr int kWholeCatalogue = 4;

// Drops, creates and fills the sort tables of a class of media, for kWholeCatalogue those of music;
// recomputes the folder flags, saves the identifier counters, commits and closes the catalogue. Returns 1; or
// 0, with nothing committed and the catalogue still open, when the tables could not be filled or the class is
// another number.
int RebuildSortTables(Session& session, int media_class);

// Fills the sort tables of a class, which must exist and be empty. Returns 1, or 0 at the first query or
// insert that fails; what was filled until then stays.
int FillSortTables(Session& session, int media_class);

}  // namespace corvexal
