// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <cstdlib>

#include "base/text.h"
#include "fuzz/memory_file.h"

// Without a detector, which would be a process for each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int no_detector = setenv("PATH", "/nonexistent", 1);
  static corvexal::TagDecoder decoder;
  const corvexal::MemoryFile file({data, size});
  for (const char* type : {"mp3", "m4a"}) {
    corvexal::SongInfo song;
    song.type = type;
    if (no_detector != 0 || corvexal::read_standard_tags(decoder, file.path(), song) != 0) std::abort();
    for (const corvexal::Text& text :
         {song.title, song.artist, song.album, song.genre, song.comment, song.composer, song.grouping})
      if (text && (text->empty() || text->find('\0') != std::string::npos || !corvexal::is_utf8(*text)))
        std::abort();
    for (const std::int32_t number : {song.track, song.total_tracks, song.disc, song.total_discs, song.year,
                                      song.bpm, song.bitrate, song.samplerate, song.song_length})
      if (number < 0) std::abort();
  }
  return 0;
}
