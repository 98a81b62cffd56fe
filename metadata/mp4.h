// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/song_info.h"

// Readers of MPEG-4 audio files (ISO/IEC 14496-12 and -14) with the item list that music players write. One
// block of the file is held at a time, and no text grows beyond 1 MiB.

namespace corvexal {

// Fills the tag fields from the items in moov:udta:meta:ilst: title, artist, album, genre, comment, composer,
// grouping, year, bpm, track, total_tracks, disc, total_discs and compilation. Texts are taken as they are,
// up to their first zero byte; an item without a value gives an empty text or 0. A later item wins. An item
// that does not end inside the file ends the list. Returns 0, or -1 with a line in the log when the file
// cannot be opened.
int mp4_scan_tags(const std::string& path, SongInfo& song);

// Fills file_size (bytes), song_length (ms), samplerate (Hz), bitrate (kbit/s) and, as stored, time_added and
// time_modified. What the file does not hold stays as it is; a bitrate that nothing tells is 0. Only the
// first track is looked at. Returns 0, or -1 with a line in the log when the file cannot be opened.
int mp4_scan_info(const std::string& path, SongInfo& song);

}  // namespace corvexal
