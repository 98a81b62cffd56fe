// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/song_scanners.h"

#include <gtest/gtest.h>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

TEST(SongScanners, FoldTheCaseOfTheTypeForTagsOnly) {
  const std::string m4a = testing::sample("music/aac-tagged.m4a");
  TagDecoder decoder;
  for (const testing::Row& row : testing::table("song_types")) {
    SongInfo song;
    if (row[0] != "-") song.type = row[0];
    EXPECT_EQ(scan_tags_by_type(decoder, m4a, song) + scan_info_by_type(m4a, song), 0);
    EXPECT_EQ(testing::row_of(song.type, song.title, song.samplerate, song.file_size), row);
    EXPECT_EQ(scan_info_by_type("/nowhere", song), -1) << row[0];
  }
}

}  // namespace
}  // namespace corvexal
