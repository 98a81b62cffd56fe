#include "metadata/song_scanners.h"

#include <gtest/gtest.h>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

TEST(SongScanners, FoldTheCaseOfTheTypeForTagsOnly) {
  const std::string m4a = testing::sample("music/aac-tagged.m4a");
  const struct {
    Text type;
    bool tags, stream;
  } rows[] = {{"m4p", true, true}, {"M4A", true, false}, {"ogg", false, false}, {{}, false, false}};
  for (const auto& row : rows) {
    SongInfo song;
    song.type = row.type;
    EXPECT_EQ(scan_tags_by_type(m4a, song) + scan_info_by_type(m4a, song), 0);
    EXPECT_EQ(song.title.has_value(), row.tags) << row.type.value_or("none");
    EXPECT_EQ(song.samplerate, row.stream ? 44100 : 0) << row.type.value_or("none");
    EXPECT_EQ(song.file_size, 13912) << row.type.value_or("none");
    EXPECT_EQ(scan_info_by_type("/nowhere", song), -1) << row.type.value_or("none");
  }
}

}  // namespace
}  // namespace corvexal
