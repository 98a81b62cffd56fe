// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_tags.h"

#include <cstdlib>

#include "fuzz/memory_file.h"

// Without a detector, which would be a process for each input: its answers are fuzzed as names of character
// sets, with the conversions.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static corvexal::TagDecoder decoder;
  static const int no_detector = setenv("PATH", "/nonexistent", 1);
  const corvexal::MemoryFile file({data, size});
  corvexal::SongInfo song;
  song.fname = "song.mp3";
  song.type = "mp3";
  if (no_detector != 0 || corvexal::scan_get_mp3tags(decoder, file.path(), song) != 0) std::abort();
  for (const corvexal::Text& text : {song.title, song.artist, song.album, song.genre})
    if (text && text->find('\0') != std::string::npos) std::abort();
  return 0;
}
