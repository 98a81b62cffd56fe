// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/song_info.h"
#include "metadata/tag_decoder.h"

// The readers of music files, chosen by the extension in song.type: one for the tags, one for the stream. A
// song without a type has an unknown one.

namespace corvexal {

// Reads the tags of the file into `song`, its type compared without regard to case. Returns the reader's
// result: 0, also for a type without a reader, or another number when the file is to be skipped.
int scan_tags_by_type(TagDecoder& decoder, const std::string& path, SongInfo& song);

// Reads the stream's properties of the file into `song`. Here the type is compared as it stands: of a
// "song.MP3" only file_size (bytes) is known, as of a file without a reader. Returns the reader's result, or
// -1 with a line in the log when a file without a reader cannot be opened.
int scan_info_by_type(const std::string& path, SongInfo& song);

// Reads tags and stream of the file in the way that `decoder` says: through the two above, or as the tags'
// standards say, whatever the type. Returns 0, or another number when the file is to be skipped.
int scan_song(TagDecoder& decoder, const std::string& path, SongInfo& song);

}  // namespace corvexal
