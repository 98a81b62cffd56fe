// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "catalogue/reconcile.h"
#include "catalogue/session.h"

namespace corvexal {

// Gives the rows of a folder that is known to have been renamed, and of all in it, their new paths:
// identifiers stay, no file is read. Rows below the new path are of an older folder that this one has
// replaced, and go. A folder that the catalogue does not know changes nothing. The counts take what was
// moved, mended, removed and what failed. True when rows went, whose songs may still have records.
bool carry_out(Session& session, const FolderRename& rename, ReconcileCounts& counts,
               ReconcileListener& listener);

}  // namespace corvexal
