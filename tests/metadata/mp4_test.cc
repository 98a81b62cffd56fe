// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp4.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using testing::Row;
using testing::row_of;

TEST(Mp4, ReadsTheItems) {
  const testing::TestFolder folder;
  for (const Row& row : testing::table("mp4_tags")) {
    SongInfo song;
    EXPECT_EQ(mp4_scan_tags(testing::file_of(row, folder), song), 0) << row[0];
    EXPECT_EQ(row_of(row[0], row[1], song.title, song.artist, song.album, song.genre, song.comment,
                     song.composer, song.grouping, song.year, song.track, song.total_tracks, song.disc,
                     song.total_discs, song.bpm, song.compilation),
              row);
  }
}

TEST(Mp4, MeasuresTheStream) {
  const testing::TestFolder folder;
  for (const Row& row : testing::table("mp4_info")) {
    SongInfo song;
    song.bitrate = 7;  // is not kept
    EXPECT_EQ(mp4_scan_info(testing::file_of(row, folder), song), 0) << row[0];
    EXPECT_EQ(row_of(row[0], row[1], song.song_length, song.samplerate, song.bitrate, song.time_added,
                     song.time_modified),
              row);
  }
}

TEST(Mp4, SurvivesDamage) {
  const std::string whole = testing::bytes_of("mp4_tags", "every-item.m4a");
  const testing::TestFolder folder;
  for (const std::string& copy : testing::damaged_copies(whole)) {
    const std::string path = folder.write("a.m4a", copy);
    SongInfo song;
    EXPECT_EQ(mp4_scan_tags(path, song) | mp4_scan_info(path, song), 0) << copy.size();
    EXPECT_EQ(song.file_size, static_cast<std::int32_t>(copy.size()));
  }
}

}  // namespace
}  // namespace corvexal
