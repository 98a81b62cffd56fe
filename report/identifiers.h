// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "report/problems.h"
#include "report/snapshot.h"

namespace corvexal::report {

// Adds every row whose identifier another row of its table has too.
void check_identifiers(Snapshot& snapshot, ProblemList& problems);

}  // namespace corvexal::report
