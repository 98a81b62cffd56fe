#include "catalogue/remove.h"

#include "catalogue/playlists.h"
#include "metadata/charset.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

class RemoveTest : public testing::CatalogueTest {
 protected:
  // Removes a file and swallows what the rebuild prints.
  static int remove(const std::string& file) {
    const CapturedOutput output;
    return RemoveMediaFile(file);
  }
};

TEST_F(RemoveTest, TakesTheFileOutOfTheTableOfItsClass) {
  const struct {
    const char* name;
    const char* remaining;  // of one music, one video and one photo row with the same folder and name
    int result;
    int playlists_pending;
  } rows[] = {
      {"a.MP3", "video|photo", 0, 1},
      {"a.ogg", "video|photo", 0, 1},  // never added, but removable
      {"list.pls", "video|photo", 0, 1},
      {"a.mov", "music|photo", 0, 0},
      {"it's.png", "music|video", 0, 0},
      {"a.mkv", "music|video|photo", -1, 0},  // added, but not removable
      {"Music", "music|video|photo", -1, 0},
      {"My.Pictures", "music|video|photo", -1, 0},
  };
  for (const auto& row : rows) {
    playlist_pending = 0;
    add_music("/s.mp3/", row.name);
    add_video("/s.mp3/", row.name);
    add_photo("/s.mp3/", row.name);
    EXPECT_EQ(remove("/s.mp3/" + std::string(row.name)), row.result) << row.name;
    EXPECT_EQ(playlist_pending, row.playlists_pending) << row.name;
    EXPECT_EQ(g_db.is_open(), row.result != 0) << row.name;  // the rebuild commits and closes
    EXPECT_EQ(column("select 'music' from music_tbl union all select 'video' from video_tbl union all "
                     "select 'photo' from photo_tbl"),
              row.remaining)
        << row.name;
    for (const char* table : {"music_tbl", "video_tbl", "photo_tbl"})
      run("delete from " + std::string(table) + ';');
  }
}

TEST_F(RemoveTest, TakesOutEveryRowOfThatFolderAndNameAlone) {
  add_music("/s/", "a.mp3", {.title = "first"});
  add_music("/s/", "a.mp3", {.title = "second"});
  add_music("/s/", "A.mp3", {.title = "other case"});
  add_music("/s/t/", "a.mp3", {.title = "other folder"});
  EXPECT_EQ(remove("/s/a.mp3"), 0);
  EXPECT_EQ(column("select Title from music_tbl"), "other case|other folder");
  EXPECT_EQ(column("select idx from music_sortidx_tbl order by idx"), "3|4");
  EXPECT_EQ(remove("/s/none.mp3"), 0) << "a missing row is no error";
}

TEST_F(RemoveTest, CanLeaveTheCommitToItsCallerOnce) {
  add_music("/s/", "a.mp3");
  commit_after_remove = 0;
  EXPECT_EQ(remove("/s/a.mkv"), -1);
  EXPECT_EQ(commit_after_remove, 0);
  EXPECT_EQ(remove("/s/a.mp3"), 0);
  EXPECT_EQ(commit_after_remove, 1);
  EXPECT_TRUE(g_db.is_open());
  EXPECT_EQ(column("select count(*) from music_tbl"), "0");
  EXPECT_EQ(column("select count(*) from sqlite_master where name like 'music_sort%%'"), "0");
  EXPECT_EQ(remove("/s/a.mp3"), 0);
  EXPECT_FALSE(g_db.is_open());
}

TEST_F(RemoveTest, LooksForThePathInUtf8OrAsItIs) {
  from_codepage = "ISO-8859-1";
  add_photo("/s\xC3\xA4/", "\xC3\xBC.jpg");
  EXPECT_EQ(remove("/s\xE4/\xFC.jpg"), 0);
  EXPECT_EQ(column("select count(*) from photo_tbl"), "0");

  from_codepage = "no such set";
  add_photo("/s\xE4/", "\xFC.jpg");
  EXPECT_EQ(remove("/s\xE4/\xFC.jpg"), 0);
  EXPECT_EQ(column("select count(*) from photo_tbl"), "0");
}

TEST_F(RemoveTest, ReportsAFailedStatementThroughTheDeletersAlone) {
  for (int (*delete_rows)(Database&, const std::string&) : {DelAudioEntry2, DelImageEntry2, DelVideoEntry2}) {
    EXPECT_EQ(delete_rows(g_db, "/s/none"), 0);
    EXPECT_EQ(retval, SQLITE_OK);
    EXPECT_FALSE(zErrMsg);
    EXPECT_EQ(delete_rows(g_db, "/s/\""), -1);
    EXPECT_EQ(retval, SQLITE_ERROR);
    EXPECT_TRUE(zErrMsg);
  }
  EXPECT_EQ(remove("/s/\".mp3"), 0);
  EXPECT_FALSE(g_db.is_open()) << "the rebuild runs all the same";
  EXPECT_EQ(DelAudioEntry2(g_db, "/s/none"), -1);
  EXPECT_EQ(retval, SQLITE_MISUSE);
}

}  // namespace
}  // namespace corvexal
