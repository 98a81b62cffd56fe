// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "report/problems.h"
#include "report/snapshot.h"

namespace corvexal::report {

// Adds the sort tables that do not hold what a rebuild would write, under the catalogue's path. Items that
// sort alike may stand in any order; of a class without items the table may be missing.
void check_sort_tables(Snapshot& snapshot, std::string_view catalogue_path, ProblemList& problems);

// The query of a sort table with the text that it sorts by as a second column: what stands between "order by"
// and ";".
[[nodiscard]] std::string with_sort_key(std::string_view query);

}  // namespace corvexal::report
