// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "songdb/gdbm_file.h"
#include "songdb/record.h"
#include "songdb/store.h"
#include "tests/support/test_files.h"

namespace corvexal {

inline SongInfo song_of(std::uint32_t id, const std::string& path) {
  SongInfo song;
  song.id = id;
  song.path = path;
  return song;
}

// Every test has a mount path of its own, which is the working folder too.
class StoreFixture : public ::testing::Test {
 protected:
  StoreFixture() { std::filesystem::create_directory(".systemfile"); }

  bool open(bool reload = false) {
    testing::CapturedOutput out;
    return store.open(mount_.path(), reload);
  }
  [[nodiscard]] std::string file() const { return song_store_path(mount_.path()); }

  // The songs of a store's file, in gdbm's key order; what the open store holds is in its copy.
  [[nodiscard]] static std::vector<SongInfo> songs_in(const std::string& path) {
    std::vector<SongInfo> songs;
    const GdbmFile db = open_gdbm(path, GDBM_READER);
    if (!db) return songs;
    for (KeyWalk walk(db.get()); walk.next();)
      unpack_song(Datum(gdbm_fetch(db.get(), walk.key().borrowed())).bytes(), songs.emplace_back());
    return songs;
  }
  [[nodiscard]] std::vector<SongInfo> songs() const { return songs_in(file()); }
  [[nodiscard]] std::vector<SongInfo> changed_songs() const { return songs_in(file() + ".new/songs.gdb"); }

  testing::WorkingFolder mount_;
  SongStore store;
};

}  // namespace corvexal
