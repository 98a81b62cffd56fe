#include "catalogue/scan.h"

#include <filesystem>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using ScanTest = testing::CatalogueTest;

TEST_F(ScanTest, CommitsInBatchesAndTheRestWhenTheCatalogueCloses) {
  for (int i = 0; i < 501; ++i) write_file("t/" + std::to_string(i) + ".iso");
  ScanMediaDirectory(session, path("t"), ScanMode::kBothStores);
  EXPECT_EQ(committed("select count(*) from video_tbl"), "500");
  db.close();
  EXPECT_EQ(committed("select count(*) from video_tbl"), "501");
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

}  // namespace
}  // namespace corvexal
