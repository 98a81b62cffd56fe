// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "report/figures.h"
#include "report/problems.h"
#include "report/snapshot.h"

namespace corvexal::report {

// Counts genres, artists and tongues, and adds the songs with a tag text that looks wrongly decoded. Songs
// tell their tongue by their tags, other files by their names.
void check_texts(Snapshot& snapshot, Figures& figures, ProblemList& problems);

}  // namespace corvexal::report
