// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_stream.h"

#include <cstdlib>

#include "fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::MemoryFile file({data, size});
  corvexal::SongInfo song;
  const int result = corvexal::scan_get_mp3fileinfo(file.path(), song);
  const bool found = song.bitrate != 0;
  if ((result == 0) != (size >= 1024) || found != (song.samplerate != 0) || song.song_length < 0)
    std::abort();
  return 0;
}
