// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_tags.h"

#include "fuzz/input.h"

// Without a detector, which would be a process for each input: its answers are fuzzed as names of character
// sets, with the conversions.
void corvexal::try_input(Bytes input) {
  static TagDecoder decoder;
  static const int no_detector = setenv("PATH", "/nonexistent", 1);
  const MemoryFile file(input);
  SongInfo song;
  song.fname = "song.mp3";
  song.type = "mp3";
  require(no_detector == 0 && scan_get_mp3tags(decoder, file.path(), song) == 0);
  for (const Text& text : {song.title, song.artist, song.album, song.genre})
    require(!text || text->find('\0') == std::string::npos);
}
