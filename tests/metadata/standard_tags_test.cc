// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <gtest/gtest.h>

#include <string>

#include "fuzz/memory_file.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/memory.h"
#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using testing::Row;
using testing::row_of;

class StandardTags : public ::testing::Test {
 protected:
  // The file's title; `song` has the rest.
  std::string read(const std::string& path) {
    song = {};
    song.type = path.substr(path.rfind('.') + 1);
    EXPECT_EQ(read_standard_tags(decoder, path, song), 0) << path;
    return testing::shown(song.title);
  }

  SongInfo song;
  TagDecoder decoder;
  testing::TestFolder folder;
  testing::FakeDetector detector;
};

TEST_F(StandardTags, ReadsEveryFormatWhateverItsName) {
  for (const Row& row : testing::table("standard_tags")) {
    const std::string path = testing::sample("../" + row[0]), content = testing::read_file(path);
    for (const std::string& name :
         {path, folder.write("song.mp3", content), folder.write("song.flac", content)}) {
      read(name);
      EXPECT_EQ(row_of(row[0], song.title, song.artist, song.album, song.genre, song.comment, song.composer,
                       song.grouping, song.year, song.track, song.total_tracks, song.disc, song.total_discs,
                       song.bpm, song.compilation, song.song_length, song.bitrate, song.samplerate),
                row)
          << name;
      EXPECT_EQ(song.file_size, std::ssize(content));
    }
  }
}

TEST_F(StandardTags, TakesUnicodeAsItIsAndRepairsIt) {
  for (const Row& row : testing::table("standard_titles")) {
    for (const int version : {2, 3, 4}) {
      const std::string frame = testing::id3_frame(version, version == 2 ? "TT2" : "TIT2", row[0]);
      EXPECT_EQ(read(folder.write("song.mp3", testing::id3_tag_bytes(version, frame))), row[1]) << version;
    }
  }
  EXPECT_TRUE(detector.arguments().empty());
}

TEST_F(StandardTags, DecodesTheTextsOfATagByOneDecision) {
  decoder.code_page_set = "autodetect_GB";
  for (const Row& row : testing::table("standard_texts")) {
    const testing::FakeDetector asked;
    asked.answers(row[2]);
    decoder.detector = EncodingDetector();
    read(testing::file_of(row, folder));
    const std::vector<std::string> samples = asked.arguments();
    EXPECT_EQ(row_of(row[0], row[1], row[2], song.title, song.artist, song.album, song.genre, song.comment,
                     song.compilation, samples.empty() ? Text() : samples[0]),
              row);
  }
}

TEST_F(StandardTags, ReadsPastPicturesInLittleMemory) {
  if (!testing::memory_is_the_programs()) GTEST_SKIP();
  for (const Row& row : testing::table("standard_pictures")) {
    const std::string path =
        folder.write_sparse("song.mp3", row[1], row[1].size() + std::stoull(row[2]), row[3]);
    EXPECT_EXIT(testing::read_and_end(5, [&] { return read(path) == "title"; }), ::testing::ExitedWithCode(0),
                "")
        << row[0] << row[2];
  }
}

TEST_F(StandardTags, SurvivesDamage) {
  for (const Row& row : testing::table("standard_tags")) {
    if (!row[0].starts_with("fuzz/")) continue;
    const std::string whole = testing::read_file(testing::sample("../" + row[0]));
    for (const std::string& copy : testing::damaged_copies(whole))
      read(MemoryFile({reinterpret_cast<const std::uint8_t*>(copy.data()), copy.size()}).path());
  }
  EXPECT_EQ(read_standard_tags(decoder, folder.path(), song), -1);
}

}  // namespace
}  // namespace corvexal
