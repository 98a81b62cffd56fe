// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/record.h"

#include <gtest/gtest.h>

#include <climits>

#include "base/locations.h"
#include "tests/support/bytes.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::host_words;

// In the order of the declaration: texts, numbers, id, what is in memory only, compilation.
const SongInfo kFullSong = {
    "/mnt/b/a.mp3", "a.mp3", "t\0cut"s, "ar", "alb", "Pop", "c", "mp3", "co", "or", "cd", "g", {}, 128,
    44100,          60000,   INT_MAX,   -1,   1,     2,     3,   4,     5,    6,    7,    8,   9,  0x81020304,
    "not stored",   10,      11,        1};

// The record of kFullSong, byte by byte.
PackedSong golden_record() {
  std::string record =
      host_words({8, 128, 128, 44100, 60000, INT_MAX, UINT32_MAX, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  record += std::string("\1\0\0\0", 4);
  record += host_words({0x81020304, 13, 6, 2, 3, 4, 4, 2, 4, 3, 3, 3, 2, 1});
  record += "/mnt/b/a.mp3\0a.mp3\0t\0ar\0alb\0Pop\0c\0mp3\0co\0or\0cd\0g\0"s;
  record.append(1 + 4, '\0');  // no url, and the last word
  return {record.begin(), record.end()};
}

TEST(PackSong, WritesTheWholeLayout) {
  EXPECT_EQ(pack_song(kFullSong), golden_record());
  EXPECT_TRUE(is_whole_record(golden_record()));
  EXPECT_EQ(pack_song({})->size(), 141U);
}

TEST(UnpackSong, GivesBackEverythingButFourCharactersOfThePath) {
  SongInfo song;
  song.url = "left over";
  EXPECT_EQ(unpack_song(golden_record(), song), 0);
  EXPECT_EQ(song.path, "/b/a.mp3");
  EXPECT_EQ(song.description, "mp3 audio file");
  song.path = kFullSong.path;
  EXPECT_EQ(pack_song(song), golden_record());
  read_stored_song(golden_record(), song);
  EXPECT_EQ(song.path, kFullSong.path);

  const testing::WorkingFolder folder;
  folder.write(kLogFile, "");
  PackedSong other_version = golden_record();
  other_version.front() = other_version[3] = 7;
  EXPECT_EQ(unpack_song(other_version, song), 0);
  EXPECT_EQ(song.album, "alb");
  const std::string entry = testing::read_file(kLogFile);
  EXPECT_EQ(entry.substr(entry.find("\n:")),
            "\n:ON-DISK DATABASE VERSION HAS CHANGED\nDelete your songs.gdb and restart.\n\n");
}

TEST(UnpackSong, ReadsAShortPathFromTheTextsThatFollow) {
  SongInfo song;
  for (const auto& [path, unpacked] : {std::pair<Text, Text>{"/abc", ""}, {"/", "mp3"}, {"", std::nullopt}}) {
    song.path = path;
    song.fname = "f.mp3";
    unpack_song(*pack_song(song), song);
    EXPECT_EQ(song.path, unpacked) << *path;
  }
}

TEST(UnpackSong, NeverReadsPastTheRecord) {
  const PackedSong whole = golden_record();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const PackedSong cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    SongInfo song;
    EXPECT_EQ(unpack_song(cut, song), 0);
    EXPECT_FALSE(is_whole_record(cut)) << size;
    EXPECT_EQ(song.fname.has_value(), size >= 124 + 19) << size;
    EXPECT_EQ(song.year, size >= 28 ? -1 : 0) << size;
  }
}

}  // namespace
}  // namespace corvexal
