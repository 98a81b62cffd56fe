// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/record.h"

#include <cstdlib>

using corvexal::Bytes;

static corvexal::PackedSong packed_again(Bytes record) {
  corvexal::SongInfo song;
  corvexal::read_stored_song(record, song);
  return corvexal::pack_song(song).value();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes record(data, size);
  corvexal::SongInfo song;
  if (corvexal::unpack_song(record, song) != 0) std::abort();
  if (song.path != corvexal::shortened_path(record) || song.id != corvexal::record_id(record)) std::abort();

  // Whatever was read can be stored, and what was stored is read as it was.
  const corvexal::PackedSong stored = packed_again(record);
  if (!corvexal::is_whole_record(stored) || packed_again(stored) != stored) std::abort();
  return 0;
}
