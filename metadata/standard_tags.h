// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/song_info.h"
#include "metadata/tag_decoder.h"

namespace corvexal {

// Reads a music file's tags as their standards say: MPEG audio with ID3v1, ID3v2 and APE tags, MP4, FLAC, Ogg
// Vorbis, Opus, WMA, Monkey's Audio, WAV and AIFF, told apart by their content before song.type. Fills title,
// artist, album, genre, comment, composer, grouping, year, track, total_tracks, disc, total_discs, bpm,
// compilation, song_length (ms), bitrate (kbit/s), samplerate (Hz) and file_size (bytes) as far as the file
// has them; a text is never empty. Texts are UTF-8, lone surrogates U+FFFD. Those that the tag does not say
// to be Unicode, and those that are not what it says, are decoded together as texts of one encoding: UTF-8
// when all of them are, else what the detector sees in them, else what the lists of the run's code page give.
// A text ends at its first zero character and is cut at 4096 bytes. A genre that is a number, alone or in
// parentheses, becomes the name of that ID3v1 genre. Memory and time are bounded whatever the file holds, and
// a cut or broken file gives what could be read. Returns 0, or -1 when it cannot be opened. Throws
// std::runtime_error when TagLib cannot be loaded.
int read_standard_tags(TagDecoder& decoder, const std::string& path, SongInfo& song);

}  // namespace corvexal
