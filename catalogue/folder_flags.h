#pragma once

#include "catalogue/database.h"

namespace corvexal {

// Recomputes have_video, have_music and have_photo of every folder row: 1 when any row of the class lies in
// the folder or below it. Returns 1, or 0 at the first failure, which is printed; folders before it keep
// their new flags.
int Assign_pathtbl_media(Database& db);

}  // namespace corvexal
