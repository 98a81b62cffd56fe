// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/store.h"

#include <array>

#include "fuzz/input.h"

// The input stands as the store's file in a folder of the process's own: the store is opened, repaired if
// need be, read and changed as by a run, in place.
void corvexal::try_input(Bytes input) {
  static const InputFolder folder;
  folder.write(".systemfile/songs.gdb", input);
  SongStore store;
  if (!store.open(folder.path())) return;
  SongInfo song;
  song.id = 7;
  song.path = "/mnt/a/song.mp3";
  require(store.add(song));
  (void)store.fetch(song.id);
  (void)store.time_stored(1);
  const std::array<std::string, 2> paths = {"/a", "t/b/"};
  store.remove_first_below(paths[0]);
  store.remove_below(paths, false);
  store.remove(2);
}
