// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "report/figures.h"
#include "report/problems.h"
#include "report/snapshot.h"

namespace corvexal::report {

// Counts the entries of each playlist in the catalogue: the songs that its row lists, and those of the file's
// entries that name no row of its folder. Adds the playlists whose row does not list as many songs as the
// file names of those that there are. The memory is 16 bytes a music row, the cost a look-up an entry.
void check_playlists(Snapshot& snapshot, Figures& figures, ProblemList& problems);

}  // namespace corvexal::report
