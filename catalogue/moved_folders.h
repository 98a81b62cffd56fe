// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "catalogue/library_survey.h"

namespace corvexal {

// Finds out which new folders are gone ones that were moved, once the moved files are known, and hands the
// row along: a folder whose files all went to one new folder, into which no other folder's went, was moved
// with them, and so were those around it, as far as their names agree.
void match_moved_folders(LibrarySurvey& survey);

}  // namespace corvexal
