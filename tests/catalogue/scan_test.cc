// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/scan.h"

#include <filesystem>

#include "catalogue/path_depth.h"
#include "catalogue/schema.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using ScanTest = testing::CatalogueTest;

TEST_F(ScanTest, CommitsInBatchesAndTheRestWhenTheCatalogueCloses) {
  const std::string long_name(240, 'x');
  for (int i = 0; i < 501; ++i) write_file("t/" + long_name + std::to_string(i) + ".iso");
  ScanMediaDirectory(session, path("t"), ScanMode::kBothStores);
  EXPECT_EQ(committed("select count(*) from video_tbl"), "500");
  db.close();
  EXPECT_EQ(
      committed("select count(distinct UTF_fname) from video_tbl where instr(UTF_fname,'" + long_name + "')"),
      "501");
}

TEST_F(ScanTest, WritesTheSongStoreAloneInModeOne) {
  std::filesystem::create_directories(path(".systemfile"));
  write_file("t/sub/a.mp3", testing::read_file(testing::sample("music/cbr-128.mp3")));
  write_file("t/sub/b.gif", "GIF89a\x05");
  const testing::CapturedOutput quiet;
  ASSERT_TRUE(session.songs.open(path("")));
  ScanMediaDirectory(session, path("t"), ScanMode::kSongStore);
  EXPECT_EQ(session.songs.songs_added(), 1U);
  EXPECT_EQ(column("select No from music_tbl union all select No from photo_tbl"), "");
}

TEST_F(ScanTest, WritesAFoldersOwnRowWithItsSlash) {
  add_folder(path(""), "4000000000007");
  write_file("t/a.iso");
  std::deque<ScanFolder> queue;
  for (const int depth : {5, 0}) ScanMusic(session, {path("t/"), depth}, ScanMode::kFolderRows, queue);
  EXPECT_EQ(column("select ObjID||' '||Dir_ParentID||' '||Level||have_video||have_music||have_photo from "
                   "path_objid_tbl where path == '" +
                   path("t/") + "'"),
            "4000000000001 4000000000007 5000|4000000000002 0 0000");
  EXPECT_EQ(column("select ParentID||Depth from video_tbl"), "40000000000015|40000000000020");

  run("drop table path_objid_tbl;");  // without its row a folder is left out
  printed([&] { EXPECT_EQ(ScanMusic(session, {path("t/"), 0}, ScanMode::kFolderRows, queue), 0); });
  EXPECT_EQ(column("select count(*) from video_tbl"), "2");
}

TEST(Depth, IsCountedFromTheFirstThreeCharactersOfTheShare) {
  for (const auto& [share, depth] : {std::pair{"/s/a", 1}, {"/sh/a", 2}, {"", 3}})
    EXPECT_EQ(depth_below_share(share, "/sh/a/"), depth) << share;
}

TEST_F(ScanTest, KnowsNothingOfAnotherSessionsScan) {
  write_file("t/\xA4\xA4.gif", "GIF89a\x05");
  Session other;
  ASSERT_EQ(other.db.open(path("other.db")), SQLITE_OK);
  create_tables(other.db);
  other.names = NameCharset("BIG5");
  session.names = NameCharset("no such set");
  EXPECT_NE(other.db.exec("no statement;"), SQLITE_OK);
  EXPECT_STREQ(db.error_text(), "");
  for (Session* each : {&other, &session}) ScanMediaDirectory(*each, path("t"), ScanMode::kBothStores);
  constexpr const char* kPhotos = "select UTF_fname||' '||ObjID||' '||No||' '||ParentID from photo_tbl;";
  EXPECT_EQ(column(kPhotos), "\xA4\xA4.gif 1000000000001 1 4000000000001");
  Rows rows = other.db.select(kPhotos);
  EXPECT_TRUE(rows.next() && rows.text(0) == "中.gif 1000000000001 1 4000000000001") << rows.text(0);
}

}  // namespace
}  // namespace corvexal
