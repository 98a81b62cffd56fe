#include "songdb/update.h"

#include "tests/songdb/store_fixture.h"

namespace corvexal {
namespace {

class Update : public StoreFixture {};

TEST_F(Update, DropsTheFirstRecordWhosePathBeginsWithTheFilesAndScansAnew) {
  open();
  const std::string path = mount_.write("share/a.wav", "sound");
  db_add(song_of(1, "/abc" + path + ".old"));
  db_add(song_of(2, path));  // compared without its first four characters
  const auto songs_before = db_song_count;
  for (int scan = 0; scan < 2; ++scan) EXPECT_EQ(update_song(path), 1);
  EXPECT_EQ(db_exists(1), 0);
  EXPECT_EQ(db_exists(2), 1);
  EXPECT_EQ(db_song_count, songs_before + 2);
  const std::string no_music = mount_.write("share/b.ogg", "sound");
  db_add(song_of(3, "/abc" + no_music));
  EXPECT_EQ(update_song(no_music), 1);
  EXPECT_EQ(db_exists(3), 1);
  EXPECT_EQ(update_song(mount_.path() + "/missing.mp3"), -1);
  EXPECT_EQ(update_song(mount_.path() + "/share"), 1);
}

}  // namespace
}  // namespace corvexal
