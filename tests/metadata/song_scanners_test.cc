#include "metadata/song_scanners.h"

#include <gtest/gtest.h>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::sample;

SongInfo song_of(const Text& type) {
  SongInfo song;
  song.type = type;
  return song;
}

TEST(SongScanners, FoldTheCaseOfTheTypeForTagsOnly) {
  const std::string m4a = sample("music/aac-tagged.m4a");
  const struct {
    Text type;
    bool tags, stream;
  } rows[] = {{"m4a", true, true},   {"m4p", true, true}, {"M4A", true, false},
              {"ogg", false, false}, {"", false, false},  {{}, false, false}};
  for (const auto& row : rows) {
    SongInfo song = song_of(row.type);
    EXPECT_EQ(scan_tags_by_type(m4a, song), 0);
    EXPECT_EQ(scan_info_by_type(m4a, song), 0);
    EXPECT_EQ(song.title.has_value(), row.tags) << row.type.value_or("none");
    EXPECT_EQ(song.samplerate, row.stream ? 44100 : 0) << row.type.value_or("none");
    EXPECT_EQ(song.file_size, 13912) << row.type.value_or("none");
  }
}

TEST(SongScanners, NeedAFileThatCanBeOpened) {
  for (const Text& type : {Text("ogg"), Text(), Text("m4a"), Text("mp3")}) {
    SongInfo song = song_of(type);
    EXPECT_EQ(scan_info_by_type("/nonexistent", song), -1) << type.value_or("none");
    EXPECT_EQ(scan_info_by_type("/tmp", song), -1) << type.value_or("none");
  }
}

}  // namespace
}  // namespace corvexal
