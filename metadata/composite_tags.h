// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "metadata/song_info.h"

namespace corvexal {

// Fills the fields of a song that no reader sets: the artist from orchestra and conductor when there is none,
// the description and kinds, and the file name as title of an untitled song. A song with a url becomes a
// playlist entry of type "pls".
void make_composite_tags(SongInfo& song);

}  // namespace corvexal
