#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "base/config.h"
#include "base/locations.h"
#include "songdb/gdbm_file.h"
#include "songdb/record.h"
#include "songdb/store.h"
#include "tests/support/test_files.h"

namespace corvexal {

inline SongInfo song_of(std::uint32_t id, const std::string& path) {
  SongInfo song;
  song.id = id;
  song.path = path;
  song.fname = std::filesystem::path(path).filename().string();
  song.type = "mp3";
  return song;
}

// Every test has a mount path of its own, which is the working folder too, so the log lies beneath it.
class StoreFixture : public ::testing::Test {
 protected:
  StoreFixture() {
    std::filesystem::create_directories(mount_.path() + "/.systemfile");
    std::filesystem::create_directories(mount_.path() + "/var/log");
    std::filesystem::current_path(mount_.path());
    global_cdata.mntpath = mount_.path();
  }
  ~StoreFixture() override {
    db_close();
    global_cdata.mntpath.clear();
    std::filesystem::current_path(before_);
  }

  [[nodiscard]] std::string file() const { return mount_.path() + "/.systemfile/songs.gdb"; }
  [[nodiscard]] static std::string log() { return testing::read_file(kLogFile); }
  static int open(int reload = 0) {
    testing::CapturedOutput out;
    return db_open(0, reload);
  }
  // The ids in the store, in gdbm's key order, as another process sees them.
  [[nodiscard]] std::vector<std::uint32_t> ids_where(auto wanted) const {
    std::vector<std::uint32_t> ids;
    const GdbmFile db = open_gdbm(file(), GDBM_READER);
    if (!db) return ids;
    for (KeyWalk walk(db.get()); walk.next();) {
      SongInfo song;
      unpack_song(Datum(gdbm_fetch(db.get(), walk.key().borrowed())).bytes(), song);
      if (wanted(song)) ids.push_back(song.id);
    }
    return ids;
  }
  [[nodiscard]] std::vector<std::uint32_t> ids() const {
    return ids_where([](const SongInfo&) { return true; });
  }

  testing::TestFolder mount_;
  std::filesystem::path before_ = std::filesystem::current_path();
};

}  // namespace corvexal
