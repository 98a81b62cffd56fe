// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_tags.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/logged.h"
#include "tests/metadata/memory.h"
#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::CapturedOutput;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using testing::logged;
using testing::Row;

const Row kNoTexts = {"-", "-", "-", "-", "0"};

class Id3Tags : public ::testing::Test {
 protected:
  // Title, artist, album, genre and bpm of the file; `song` and `status` have the rest.
  Row read_file(const std::string& path) {
    song = {};
    song.fname = "song.mp3";
    song.type = "mp3";
    TagDecoder decoder;
    status = scan_get_mp3tags(decoder, path, song);
    return testing::row_of(song.title, song.artist, song.album, song.genre, song.bpm);
  }
  Row read_tag(int version, const std::string& frames) {
    return read_file(folder.write("song.mp3", id3_tag_bytes(version, frames)));
  }

  SongInfo song;
  int status = 0;
  testing::TestFolder folder;
  testing::FakeDetector detector;
};

TEST_F(Id3Tags, ReadsEveryVersionAndTitlesBesideLargeFrames) {
  for (const Row& row : testing::table("id3_tags")) {
    Row found = read_file(testing::file_of(row, folder));
    found.push_back(std::to_string(song.compilation));
    EXPECT_EQ(found, Row(row.begin() + 2, row.end())) << row[0];
  }
}

TEST_F(Id3Tags, FillsTheFieldsAndSaysSo) {
  detector.answers("windows-1252");
  std::string frames = id3_text(3, "YTCP", "0") + id3_frame(3, "COMM", "\0enghead\0a comment"s);
  for (const char* frame : {"TPE1first", "TIT2a title", "TPE1an artist", "TPE2a band", "TALBan album",
                            "TCON13", "TBPM120", "TCOMa composer"})
    frames += id3_text(3, std::string(frame, 4), frame + 4);
  const auto read = [&] {
    EXPECT_EQ(read_tag(3, frames), (Row{"a title", "an artist", "an album", "Pop", "120"}));
  };
  EXPECT_EQ(logged(9, 8, read),
            "Compilation: 1\nCompilation: 1\n Artist: first\n Title: a title\n Artist: an artist\n"
            " Album: an album\n Genre: 13\nBPM: 120\nGot id3 tag successfully\n");
  EXPECT_EQ(logged(8, 8, read) + logged(9, ~8U, read), "");
  EXPECT_EQ(detector.arguments(), std::vector{"firsta titlean artistan albuma composer"s});
  EXPECT_FALSE(song.composer || song.comment);
}

TEST_F(Id3Tags, TellsOfFilesWithoutATagToRead) {
  const std::string too_much =
      folder.write("song.mp3", id3_tag_bytes(4, id3_frame(4, "TIT2", std::string(600'000, '\0'))));
  const auto read_both = [&] {
    EXPECT_EQ(read_file(too_much), kNoTexts);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read_file("missing.mp3"), kNoTexts);
    EXPECT_EQ(status, -1);
  };
  EXPECT_EQ(logged(2, 8, read_both), "Cannot get ID3 tag for " + too_much + "\nCannot open missing.mp3\n");
  EXPECT_EQ(logged(1, 8, read_both) + logged(2, ~8U, read_both), "");
  TagDecoder decoder;
  song.type = "m4a";
  EXPECT_EQ(scan_get_mp3tags(decoder, "missing.mp3", song), 0);
}

TEST_F(Id3Tags, TakesTheSetFromTheDetectorsAnswer) {
  for (const Row& row : testing::table("detected_sets")) {
    detector.answers(row[0]);
    EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", row[1]))[2], row[2]) << row[0] << ": " << row[1];
  }
  CapturedOutput out;
  const std::string unreadable = id3_text(3, "TIT2", "\xFF\xFF") + id3_text(3, "TCON", "\xFF\xFF");
  EXPECT_EQ(logged(9, 8, [&] { EXPECT_EQ(read_tag(3, unreadable), kNoTexts); }),
            " Genre: (null)\nGot id3 tag successfully\n");
  EXPECT_EQ(out.text(), "Title NULL:fname[song.mp3]\n");
}

TEST_F(Id3Tags, SamplesFiveFramesAndAHundredBytes) {
  for (const Row& row : testing::table("detector_samples")) {
    std::string frames;
    for (std::size_t i = 1; i < row.size(); ++i) frames += id3_text(3, "TIT2", row[i]);
    detector.answers("");
    read_tag(3, frames);
    EXPECT_EQ(detector.arguments(), std::vector{row[0]});
  }
}

TEST_F(Id3Tags, ReadsEveryFileInLittleMemory) {
  if (!testing::memory_is_the_programs()) GTEST_SKIP();
  for (const Row& row : testing::table("id3_memory")) {
    const std::string path = testing::file_of(row, folder);
    const auto read = [&] { return read_file(path), status == 0; };
    EXPECT_EXIT(testing::read_and_end(std::stol(row[2]), read), ::testing::ExitedWithCode(0), "") << row[0];
  }
}

TEST_F(Id3Tags, SurvivesDamage) {
  CapturedOutput quiet;
  const std::string whole = testing::bytes_of("id3_tags", "v23-and-v1.mp3");
  for (const std::string& copy : testing::damaged_copies(whole)) {
    read_file(folder.write("song.mp3", copy));
    EXPECT_EQ(status, 0) << copy.size() << " bytes";
  }
}

}  // namespace
}  // namespace corvexal
