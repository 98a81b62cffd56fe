// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp4.h"

#include <cstdlib>

#include "fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::MemoryFile file({data, size});
  corvexal::SongInfo song;
  const int results = corvexal::mp4_scan_tags(file.path(), song) | corvexal::mp4_scan_info(file.path(), song);
  if (results != 0 || song.title.value_or("").size() > size || song.bitrate < 0 || song.song_length < 0)
    std::abort();
  return 0;
}
