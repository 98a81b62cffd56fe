// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <algorithm>

#include "base/text.h"
#include "fuzz/input.h"

// Without a detector, which would be a process for each input.
void corvexal::try_input(Bytes input) {
  static const int no_detector = setenv("PATH", "/nonexistent", 1);
  static TagDecoder decoder;
  const MemoryFile file(input);
  for (const char* type : {"mp3", "m4a"}) {
    SongInfo song;
    song.type = type;
    require(no_detector == 0 && read_standard_tags(decoder, file.path(), song) == 0);
    for (const Text& text :
         {song.title, song.artist, song.album, song.genre, song.comment, song.composer, song.grouping})
      require(!text || (!text->empty() && text->find('\0') == std::string::npos && is_utf8(*text)));
    require(std::min({song.track, song.total_tracks, song.disc, song.total_discs, song.year, song.bpm,
                      song.bitrate, song.samplerate, song.song_length}) >= 0);
  }
}
