// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/song_scanners.h"

#include <gtest/gtest.h>

#include "metadata/mp4.h"
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

TEST(SongScanners, NameFilesThatCannotBeOpened) {
  const testing::WorkingFolder folder;
  folder.write("var/log/MediaServer.log", "");
  SongInfo song;
  EXPECT_EQ(scan_info_by_type("gone.ogg", song), -1);
  EXPECT_EQ(mp4_scan_info("gone.m4a", song), -1);
  EXPECT_EQ(mp4_scan_tags("gone.m4p", song), -1);
  const std::string log = testing::read_file("var/log/MediaServer.log");
  for (const char* line : {":Could not open gone.ogg for reading\n", ":Could not open gone.m4a for reading\n",
                           ":Cannot open file gone.m4p for reading\n"})
    EXPECT_NE(log.find(line), std::string::npos) << log;
}

}  // namespace
}  // namespace corvexal
