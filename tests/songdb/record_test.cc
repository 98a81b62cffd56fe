#include "songdb/record.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstring>
#include <initializer_list>

#include "tests/support/host_order.h"

namespace corvexal {
namespace {

using testing::host_words;

constexpr std::size_t kLengthsAt = 72, kTextsAt = 124;

PackedSong bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

void set_word(PackedSong& record, std::size_t at, std::uint32_t value) {
  std::memcpy(record.data() + at, &value, sizeof value);
}

SongInfo full_song() {
  SongInfo song;
  song.path = "/mnt/b/a.mp3";
  song.fname = "a.mp3";
  song.title = "t";
  song.artist = "ar";
  song.album = "alb";
  song.genre = "Pop";
  song.comment = "c";
  song.type = "mp3";
  song.composer = "co";
  song.orchestra = "or";
  song.conductor = "cd";
  song.grouping = "g";
  song.bitrate = 128;
  song.samplerate = 44100;
  song.song_length = 60000;
  song.file_size = INT_MAX;
  song.year = -1;
  song.track = 1;
  song.total_tracks = 2;
  song.disc = 3;
  song.total_discs = 4;
  song.time_added = 5;
  song.time_modified = 6;
  song.time_played = 7;
  song.time_stored = 8;
  song.bpm = 9;
  song.compilation = 1;
  song.id = 0x81020304;
  return song;
}

// The record of full_song(), byte by byte.
PackedSong golden_record() {
  std::string record =
      host_words({8, 128, 128, 44100, 60000, INT_MAX, UINT32_MAX, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  record += std::string("\1\0\0\0", 4);
  record += host_words({0x81020304, 13, 6, 2, 3, 4, 4, 2, 4, 3, 3, 3, 2, 1});
  const std::string_view texts("/mnt/b/a.mp3\0a.mp3\0t\0ar\0alb\0Pop\0c\0mp3\0co\0or\0cd\0g\0", 49);
  return bytes_of(record.append(texts).append(1 + 4, '\0'));  // no url, and the last word
}

TEST(PackSong, WritesTheWholeLayout) {
  EXPECT_EQ(pack_song(full_song()), golden_record());
  SongInfo nothing;
  const auto record = pack_song(nothing);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->size(), 141U);
  EXPECT_TRUE(is_whole_record(*record));
}

// Literal bytes, so that a mistake in the helper above cannot hide one in the packing.
TEST(PackSong, UsesTheByteOrderOfTheHost) {
  SongInfo song;
  song.title = "x";
  song.bpm = 258;
  song.id = 0x01020304;
  const std::string big(
      "\0\0\1\2"
      "\0\0\0\0"
      "\1\2\3\4"
      "\0\0\0\1\0\0\0\1\0\0\0\2",
      24);
  const std::string little(
      "\2\1\0\0"
      "\0\0\0\0"
      "\4\3\2\1"
      "\1\0\0\0\1\0\0\0\2\0\0\0",
      24);
  const auto record = pack_song(song);
  ASSERT_TRUE(record);
  EXPECT_EQ(std::string(record->begin() + 60, record->begin() + 84),
            std::endian::native == std::endian::big ? big : little);
  EXPECT_EQ(record_id(*record), 0x01020304U);
}

TEST(PackSong, EndsATextAtItsFirstNul) {
  SongInfo song;
  song.title = std::string("ab\0cd", 5);
  song.artist = "";
  SongInfo cut;
  cut.title = "ab";
  EXPECT_EQ(pack_song(song), pack_song(cut));
}

TEST(UnpackSong, GivesBackEverythingButFourCharactersOfThePath) {
  SongInfo song;
  song.url = "left over";
  read_stored_song(golden_record(), song);
  EXPECT_EQ(pack_song(song), golden_record());
  EXPECT_FALSE(song.url);
  EXPECT_FALSE(song.description);

  EXPECT_EQ(unpack_song(golden_record(), song), 0);
  EXPECT_EQ(song.path, "/b/a.mp3");
  EXPECT_EQ(song.description, "mp3 audio file");
  EXPECT_EQ(song.item_kind, 2);
  song.path = full_song().path;
  EXPECT_EQ(pack_song(song), golden_record());
}

TEST(UnpackSong, ReadsAShortPathFromTheTextsThatFollow) {
  const struct {
    const char *path, *fname, *unpacked;
  } rows[] = {{"/abc", "f.mp3", ""}, {"/ab", "f.mp3", "f.mp3"}, {"/", "f.mp3", "mp3"}, {"ab", "f", ""}};
  for (const auto& row : rows) {
    SongInfo song;
    song.path = row.path;
    song.fname = row.fname;
    unpack_song(*pack_song(song), song);
    EXPECT_EQ(song.path, row.unpacked) << row.path;
  }
}

TEST(UnpackSong, ReadsEmptyTextsAsAbsentAndDerivesTheTitle) {
  SongInfo song;
  song.path = "";
  song.title = "";
  song.fname = "a.mp3";
  unpack_song(*pack_song(song), song);
  EXPECT_FALSE(song.path);
  EXPECT_FALSE(song.artist);
  EXPECT_EQ(song.title, "a.mp3");
}

TEST(UnpackSong, NeverReadsPastTheRecord) {
  const PackedSong whole = golden_record();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const PackedSong cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    SongInfo song;
    EXPECT_EQ(unpack_song(cut, song), 0);
    EXPECT_FALSE(is_whole_record(cut)) << size;
    EXPECT_EQ(song.fname.has_value(), size >= kTextsAt + 19) << size;
    EXPECT_EQ(song.year, size >= 28 ? -1 : 0) << size;
  }
}

TEST(UnpackSong, BelievesNoLength) {
  for (const std::uint32_t length : {0U, 1U, 2U, 14U, 55U, 59U, 60U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    for (std::size_t text = 0; text < 13; ++text) {
      PackedSong record = golden_record();
      set_word(record, kLengthsAt + 4 * text, length);
      record.shrink_to_fit();
      SongInfo song;
      EXPECT_EQ(unpack_song(record, song), 0);
      for (auto field : {&SongInfo::path, &SongInfo::title, &SongInfo::url})
        EXPECT_LT((song.*field).value_or("").size(), record.size()) << text << ' ' << length;
    }
  PackedSong record = golden_record();
  set_word(record, kLengthsAt + 4, 100000);  // moves every text behind the file name out of the record
  SongInfo song;
  unpack_song(record, song);
  EXPECT_EQ(song.fname, "a.mp3");
  EXPECT_EQ(song.title, "a.mp3");  // derived: the stored one is out of reach
  EXPECT_FALSE(song.album);
  for (std::size_t text = 0; text < 13; ++text) set_word(record, kLengthsAt + 4 * text, 0xFFFFFFFF);
  EXPECT_EQ(unpack_song(record, song), 0);
}

TEST(UnpackSong, TakesARecordOfAnotherVersion) {
  PackedSong record = golden_record();
  set_word(record, 0, 7);
  SongInfo song;
  EXPECT_EQ(unpack_song(record, song), 0);
  EXPECT_EQ(song.album, "alb");
  EXPECT_EQ(record_version(record), 7U);
}

}  // namespace
}  // namespace corvexal
