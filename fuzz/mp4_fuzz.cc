// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp4.h"

#include "fuzz/input.h"

void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  SongInfo song;
  require(mp4_scan_tags(file.path(), song) == 0 && mp4_scan_info(file.path(), song) == 0);
  require(song.title.value_or("").size() <= input.size() && song.bitrate >= 0 && song.song_length >= 0);
}
