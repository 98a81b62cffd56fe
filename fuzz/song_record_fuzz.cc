// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/record.h"

#include "fuzz/input.h"

namespace corvexal {

static PackedSong packed_again(Bytes record) {
  SongInfo song;
  read_stored_song(record, song);
  return pack_song(song).value();
}

void try_input(Bytes record) {
  SongInfo song;
  require(unpack_song(record, song) == 0);
  require(song.path == shortened_path(record) && song.id == record_id(record));
  // Whatever was read can be stored, and what was stored is read as it was.
  const PackedSong stored = packed_again(record);
  require(is_whole_record(stored) && packed_again(stored) == stored);
}

}  // namespace corvexal
