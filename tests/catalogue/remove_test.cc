#include "catalogue/remove.h"

#include "catalogue/playlists.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using RemoveTest = testing::CatalogueTest;

TEST_F(RemoveTest, TakesEveryRowOfThatFolderAndNameOutOfOneTable) {
  for (const char* folder : {"/s.mp3/", "/s.mp3/", "/s.mp3/t/"}) add_row("music_tbl", folder, "a.ogg");
  add_row("music_tbl", "/s.mp3/", "A.ogg");
  add_row("video_tbl", "/s.mp3/", "a.ogg");
  for (const char* unremovable : {"/s.mp3/a.mkv", "/s.mp3/a"}) EXPECT_EQ(RemoveMediaFile(unremovable), -1);
  EXPECT_EQ(playlist_pending, 0);
  EXPECT_TRUE(g_db.is_open());
  printed([] { EXPECT_EQ(RemoveMediaFile("/s.mp3/a.ogg"), 0); });
  EXPECT_EQ(playlist_pending, 1);
  EXPECT_FALSE(g_db.is_open()) << "the rebuild commits and closes";
  EXPECT_EQ(column("select UTF_Path||UTF_fname from music_tbl order by ROWID"),
            "/s.mp3/t/a.ogg|/s.mp3/A.ogg");
  EXPECT_EQ(column("select count(*) from video_tbl"), "1");
  EXPECT_EQ(column("select idx from music_sortidx_tbl"), "3|4");
  EXPECT_EQ(DelAudioEntry2(g_db, "/s/\""), -1);
  EXPECT_EQ(retval, SQLITE_ERROR);
}

}  // namespace
}  // namespace corvexal
