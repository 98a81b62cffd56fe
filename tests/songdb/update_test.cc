// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/update.h"

#include "tests/songdb/store_fixture.h"

namespace corvexal {
namespace {

class Update : public StoreFixture {};

TEST_F(Update, DropsTheFirstRecordWhosePathBeginsWithTheFilesAndScansAnew) {
  open();
  TagDecoder decoder;
  const std::string path = mount_.write("share/a.wav", "sound");
  store.add(song_of(1, "/abc" + path + ".old"));
  store.add(song_of(2, path));  // compared without its first four characters
  for (int scan = 0; scan < 2; ++scan) EXPECT_EQ(update_song(store, decoder, path), 1);
  EXPECT_FALSE(store.contains(1));
  EXPECT_TRUE(store.contains(2));
  EXPECT_EQ(store.songs_added(), 4U);
  const std::string no_music = mount_.write("share/b.ogg", "sound");
  store.add(song_of(3, "/abc" + no_music));
  EXPECT_EQ(update_song(store, decoder, no_music), 1);
  EXPECT_TRUE(store.contains(3));
  mount_.write("var/log/MediaServer.log", "");
  EXPECT_EQ(update_song(store, decoder, mount_.path() + "/missing.mp3"), -1);
  EXPECT_TRUE(testing::read_file("var/log/MediaServer.log")
                  .ends_with(":Error statting: No such file or directory\n\n"));
  EXPECT_EQ(update_song(store, decoder, mount_.path() + "/share"), 1);
}

}  // namespace
}  // namespace corvexal
