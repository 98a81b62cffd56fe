// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "catalogue/media_types.h"
#include "catalogue/session.h"

namespace corvexal {

// Drops, creates and fills the sort tables of a class of media; recomputes the folder flags, saves the
// identifier counters, commits and closes the catalogue. Returns 1; or 0, with nothing committed and the
// catalogue still open, at the first query or insert that fails.
int RebuildSortTables(Session& session, MediaClass media_class);

// The same after work on the whole catalogue: of the sort tables only those of music. Clients of the
// catalogue rely on the others being left as they are.
int rebuild_for_whole_catalogue(Session& session);

// Drops, creates and fills the sort tables of a class and does nothing else. False at the first query or
// insert that fails.
bool write_sort_tables(Session& session, MediaClass media_class);

// Whether the sort tables of a class hold what filling them now would give, whatever the containers'
// identifiers, which must ascend.
[[nodiscard]] bool sort_tables_are_current(Database& db, MediaClass media_class);

// What fills a sort table, row by row: the `No` of the items in display order, or the names of the genres,
// artists or albums with their counts. Clients of the catalogue read both in the order of the table.
struct SortTable {
  const char* name;
  const char* query;
};
[[nodiscard]] std::span<const SortTable> item_tables();
[[nodiscard]] std::span<const SortTable> group_tables();

}  // namespace corvexal
