// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/song_info.h"
#include "metadata/tag_decoder.h"

namespace corvexal {

// Reads the ID3 tag (v1, v2.2 to v2.4) of an MP3 file into title, artist, album, genre, bpm and compilation
// of `song`, whose fname and type are set. The texts become UTF-8 from the character set that the device's
// detector sees in them; an artist, album or genre that cannot be converted becomes absent. Of a text
// without ideographs the first 1023 bytes, as they stand in the tag, are taken, up to a whole character.
// Returns 0, with nothing touched when the type is not "mp3" (in any case of letters), or -1 with the record
// as it was when the file cannot be opened or libid3tag yields no tag for it. A file without any tag has an
// empty one, and so has one whose tags would take too much memory or lead on to others (see id3_guard.h): the
// song is taken without them.
int scan_get_mp3tags(TagDecoder& decoder, const std::string& path, SongInfo& song);

}  // namespace corvexal
