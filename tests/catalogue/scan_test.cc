#include "catalogue/scan.h"

#include <sys/stat.h>

#include <filesystem>

#include "base/config.h"
#include "catalogue/object_ids.h"
#include "catalogue/playlists.h"
#include "catalogue/row_counts.h"
#include "metadata/charset.h"
#include "songdb/store.h"
#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

class ScanTest : public testing::CatalogueTest {
 protected:
  ScanTest() {
    from_codepage = "autodetect_utf8";
    playlist_pending = 0;
    global_cdata.sharepath = "/sh";
  }

  std::string scan(const std::string& folder, unsigned mode) {
    CapturedOutput output;
    ScanMediaDirectory(folder, mode);
    return output.text();
  }
};

TEST_F(ScanTest, GoesBreadthFirstAndPassesOverWhatIsNoMedia) {
  for (const char* name : {"t/b/deep.mp3", "t/b/c/deeper.MP3", "t/a/other.mp3", "t/z.mp3", "t/.hidden.mp3",
                           "t/.dir/x.mp3", "t/long.mpeg22", "t/nodot", "t/song.ogg", "t/a.flac"})
    write_file(name);
  std::filesystem::create_symlink(path("t/z.mp3"), path("t/link.mp3"));
  std::filesystem::create_symlink(path("t/a"), path("t/linked"));
  mkfifo(path("t/pipe.mp3").c_str(), 0600);
  std::filesystem::create_directories(path("t/empty"));

  EXPECT_EQ(scan(path("t"), kScanBothStores), "");
  EXPECT_EQ(column("select Real_fname from music_tbl order by ROWID"),
            "a.flac|z.mp3|other.mp3|deep.mp3|deeper.MP3");
  EXPECT_EQ(column("select No||':'||ObjID from music_tbl limit 2"), "1:3000000000001|2:3000000000002");
  // One parent identifier a folder; the empty folder takes one too.
  EXPECT_EQ(column("select ParentID from music_tbl"),
            "4000000000001|4000000000001|4000000000002|4000000000003|4000000000005");
  const int depth = std::stoi(column("select Depth from music_tbl limit 1"));
  EXPECT_EQ(column("select Depth - " + std::to_string(depth) + " from music_tbl"), "0|0|1|1|2");
  EXPECT_EQ(column("select count(*) from path_objid_tbl"), "0");
  EXPECT_EQ(playlist_pending, 1);
}

TEST_F(ScanTest, WritesEachKindWithTheFolderAsParent) {
  write_file("t/a.gif", "GIF89a\x05");
  write_file("t/no.gif", "not a picture");
  write_file("t/b.mkv");
  write_file("t/c.iso");
  write_file("t/d.pls");
  add_photo("/s/", "x.jpg");
  EXPECT_EQ(scan(path("t"), kScanBothStores),
            "Can't verify image file of type!!filename: " + path("t/no.gif") + "\n");
  EXPECT_EQ(
      column("select No||':'||Real_fname||':'||ObjID||':'||ParentID from photo_tbl where Real_Path != '/s/'"),
      "2:a.gif:1000000000001:4000000000001");
  EXPECT_EQ(column("select No||':'||Real_fname||':'||ObjID from video_tbl"),
            "1:b.mkv:2000000000001|2:c.iso:2000000000002");
  EXPECT_EQ(column("select Title from music_tbl"), "0");
}

TEST_F(ScanTest, AddsAFileAgainWhateverRowsThereAre) {
  write_file("t/a.mp3");
  scan(path("t"), kScanBothStores);
  scan(path("t"), kScanBothStores);
  EXPECT_EQ(column("select No||':'||ObjID from music_tbl"), "1:3000000000001|2:3000000000002");
}

TEST_F(ScanTest, AbandonsOnlyTheFolderWhoseRowFails) {
  for (const char* name : {"t/a.mp3", "t/b\".mp3", "t/c.mp3", "t/sub/d.mp3", "t/sub/e\".mp3", "t/tub/f.mp3"})
    write_file(name);
  EXPECT_EQ(scan(path("t"), kScanBothStores), "1scan file fail\n");
  // The failed folder ended before its sub-folders were met.
  EXPECT_EQ(column("select Real_fname from music_tbl order by ROWID"), "a.mp3");
  EXPECT_EQ(scan(path("t/sub"), kScanBothStores), "1scan file fail\n");
  write_file("u/v/g\".mp3");
  write_file("u/w/h.mp3");
  EXPECT_EQ(scan(path("u"), kScanBothStores), "2scan file fail\n");
  EXPECT_EQ(column("select Real_fname from music_tbl order by ROWID"), "a.mp3|d.mp3|h.mp3");
}

TEST_F(ScanTest, WritesTheFoldersOwnRowAndReadsNothingInModeTwo) {
  write_file("t/a.mp3");
  add_folder(path(""), "4000000000050");
  EXPECT_EQ(scan(path("t"), kScanFolderRowsToo), "");
  EXPECT_EQ(column("select count(*) from music_tbl"), "0");
  EXPECT_EQ(column("select path||ObjID||Dir_ParentID||have_video||have_music||have_photo from path_objid_tbl "
                   "limit 1 offset 1"),
            path("t") + "40000000000014000000000050000");
  // The same mode, folder by folder, writes rows with the trailing slash and for the files, too.
  EXPECT_EQ(ScanMusic(path("t/"), 3, kScanFolderRowsToo), 1);
  EXPECT_EQ(column("select path||Level from path_objid_tbl limit 1 offset 2"), path("t/") + "3");
  EXPECT_EQ(column("select Depth from music_tbl"), "3");

  const std::string hostile = path("quo\"te");
  EXPECT_EQ(scan(hostile, kScanFolderRowsToo)
                .find("ScanMusic():execute sql query[insert into path_objid_tbl values (\"" + hostile),
            0U);
}

TEST_F(ScanTest, PassesOverPathsOf512BytesAndMore) {
  const std::string folder = path("t/" + std::string(200, 'x') + '/' + std::string(200, 'y') + '/');
  std::filesystem::create_directories(folder);
  const std::size_t room = 511 - folder.size();
  const std::string fits = std::string(room - 4, 'n') + ".mp3", too_long = 'n' + fits;
  write_file(folder.substr(path("").size()) + fits);
  write_file(folder.substr(path("").size()) + too_long);
  EXPECT_EQ(ScanMusic(folder, 1, kScanBothStores), 1);
  EXPECT_EQ(column("select Real_fname from music_tbl order by ROWID"), fits);
}

// Readers of the catalogue know such rows: a file that is gone when its turn comes is taken for one like the
// entry before it.
TEST_F(ScanTest, TakesAVanishedFileForOneLikeTheEntryBeforeIt) {
  const testing::FakeDetector detector;
  const std::string first = write_file("t/a.mp3", testing::read_file(testing::sample("music/tag-id3v1.mp3")));
  write_file("t/b.mp3");
  detector.runs("rm -f '" + path("t/b.mp3") + "'; printf UTF-8");
  EXPECT_EQ(scan(path("t"), kScanBothStores),
            "<prescan>ScanMusic(): lstat error:[Unknown error -1],-1,file:[" + path("t/b.mp3") + "]\n");
  EXPECT_EQ(column("select Real_fname||' '||Size from music_tbl"),
            "a.mp3 " + std::to_string(std::filesystem::file_size(first)) + "|b.mp3 " +
                std::to_string(std::filesystem::file_size(first)));
}

TEST_F(ScanTest, CommitsInBatchesAndTheRestWhenTheCatalogueCloses) {
  for (int i = 0; i < 501; ++i) write_file("t/" + std::to_string(i) + ".iso");
  g_db.exec("COMMIT;");
  scan(path("t"), kScanBothStores);
  const auto committed = [this] {
    Database other;
    EXPECT_EQ(other.open(path("catalogue.db")), SQLITE_OK);
    return QueryRowCount(other, "select No from video_tbl;");
  };
  EXPECT_EQ(committed(), 500);
  g_db.close();
  EXPECT_EQ(committed(), 501);
}

TEST_F(ScanTest, WritesTheSongStoreAloneInModeOne) {
  std::filesystem::create_directories(path(".systemfile"));
  write_file("t/sub/a.mp3", testing::read_file(testing::sample("music/cbr-128.mp3")));
  write_file("t/sub/b.gif", "GIF89a");
  const auto songs_before = db_song_count;
  CapturedOutput quiet;
  ASSERT_EQ(db_open(0, 0), 0);
  ScanMediaDirectory(path("t"), kScanSongStore);
  db_close();
  EXPECT_EQ(db_song_count, songs_before + 1);
  EXPECT_EQ(column("select (select count(*) from music_tbl)+(select count(*) from photo_tbl)"), "0");
  EXPECT_EQ(playlist_pending, 0);
}

TEST_F(ScanTest, TakesAnUnreadableFolderForAnEmptyOne) {
  EXPECT_EQ(ScanMusic(path("missing/"), 1, kScanBothStores), 1);
  EXPECT_EQ(init_objid.media_path_objid, 4000000000001U);
}

}  // namespace
}  // namespace corvexal
