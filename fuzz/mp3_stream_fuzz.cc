// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_stream.h"

#include "fuzz/input.h"

void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  SongInfo song;
  require((scan_get_mp3fileinfo(file.path(), song) == 0) == (input.size() >= 1024));
  require((song.bitrate != 0) == (song.samplerate != 0) && song.song_length >= 0);
}
