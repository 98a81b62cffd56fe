#include "metadata/id3_tags.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/log.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::CapturedOutput;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using testing::repeated;
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
  std::string album(const std::string& latin1) { return read_tag(3, id3_text(3, "TALB", latin1))[2]; }

  SongInfo song;
  int status = 0;
  testing::TestFolder folder;
  testing::FakeDetector detector;
};

TEST_F(Id3Tags, ReadsEveryVersion) {
  for (const Row& row : testing::table("id3_tags"))
    EXPECT_EQ(read_file(testing::sample("../" + row[0])), Row(row.begin() + 1, row.end())) << row[0];
  EXPECT_EQ(read_tag(2, id3_text(2, "TT2", "one\0two"s) + id3_text(2, "TCP", "1"))[0], "one");
  EXPECT_EQ(song.compilation, 1);
}

TEST_F(Id3Tags, FillsTheFieldsAndSaysSo) {
  detector.answers("windows-1252");
  std::string frames = id3_text(3, "YTCP", "0") + id3_frame(3, "COMM", "\0enghead\0a comment"s);
  for (const char* frame : {"TPE1first", "TIT2a title", "TPE1an artist", "TPE2a band", "TALBan album",
                            "TCON13", "TBPM120", "TCOMa composer"})
    frames += id3_text(3, std::string(frame, 4), frame + 4);
  CapturedOutput log(2);
  log_level = 9;
  read_file("missing.mp3");
  EXPECT_EQ(status, -1);
  EXPECT_EQ(read_tag(3, frames), (Row{"a title", "an artist", "an album", "Pop", "120"}));
  log_level = 0;
  EXPECT_EQ(log.text(),
            "Cannot open missing.mp3\nCompilation: 1\nCompilation: 1\n Artist: first\n Title: a title\n "
            "Artist: an artist\n"
            " Album: an album\n Genre: 13\nBPM: 120\nGot id3 tag successfully\n");
  EXPECT_EQ(detector.arguments(), std::vector{"firsta titlean artistan albuma composer"s});
  EXPECT_FALSE(song.composer || song.comment);
}

TEST_F(Id3Tags, TakesTheSetFromTheDetectorsAnswer) {
  for (const Row& row : testing::table("detected_sets")) {
    detector.answers(row[0]);
    EXPECT_EQ(testing::row_of(row[0], row[1], album(row[1])), row);
  }
  CapturedOutput out;
  EXPECT_EQ(read_tag(3, id3_text(3, "TIT2", "\xFF\xFF") + id3_text(3, "TCON", "\xFF\xFF")), kNoTexts);
  EXPECT_EQ(out.text(), "Title NULL:fname[song.mp3]\n");
  // A text that must be Unicode does not go through it.
  EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", "\3é中"))[2], "é中");
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

TEST_F(Id3Tags, KeepsTheFileFromTheDetector) {
  detector.runs("ls -l /proc/self/fd > " + folder.path() + "/descriptors");
  album("title");
  const std::string descriptors = testing::read_file(folder.path() + "/descriptors");
  EXPECT_NE(descriptors.find("/dev/null"), std::string::npos) << descriptors;
  EXPECT_EQ(descriptors.find("song.mp3"), std::string::npos) << descriptors;
}

TEST_F(Id3Tags, TakesTheBeginningOfALongText) {
  EXPECT_EQ(album(std::string(100'000, 'a')), std::string(1023, 'a'));
  EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", "\3" + repeated("中", 1000)))[2], repeated("中", 1000));
  detector.answers("BIG5");
  EXPECT_EQ(album("a" + repeated("\xA4\xA4", 1000)), "a" + repeated("中", 511));
  EXPECT_EQ(album(repeated("\xA4\xA4", 1000)), repeated("中", 511)) << "a character is cut in two";
}

// Shapes at the size that is just let through.
TEST_F(Id3Tags, ReadsEveryFileInLittleMemory) {
  if (CORVEXAL_EMULATED || dlsym(RTLD_DEFAULT, "__asan_init") != nullptr)
    GTEST_SKIP() << "an emulator's or a sanitizer's own memory counts as well";
  const auto most_memory = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;  // KiB
  };
  for (const std::string& file :
       {id3_tag_bytes(3, id3_frame(3, "APIC", "\0png\0\3\0"s + repeated("x", 15'000'000)), 0x80),
        id3_tag_bytes(4, id3_frame(4, "TIT2", std::string(1'000'000, '\0'))),
        id3_tag_bytes(3, repeated(id3_frame(3, "COMR", std::string(16, '\0')), 36'000))}) {
    const std::string path = folder.write("song.mp3", file);
    malloc_trim(0);  // or the process would find memory that it need not ask for
    const auto read_and_end = [&] {
      const long before = most_memory();
      read_file(path);
      std::_Exit(status != 0 || most_memory() - before > 56 << 10 ? 1 : 0);
    };
    EXPECT_EXIT(read_and_end(), ::testing::ExitedWithCode(0), "") << file.substr(0, 14);
  }
}

TEST_F(Id3Tags, SurvivesDamageAndTagsThatAreTooMuch) {
  const std::string endless = id3_frame(3, "APIC", std::string(2'000'000, 'x'));
  EXPECT_EQ(read_tag(3, id3_text(3, "TIT2", "title") + endless), kNoTexts);
  EXPECT_EQ(status, 0);
  CapturedOutput quiet;
  const std::string whole = testing::read_file(testing::sample("../fuzz/corpus/id3_tags/v23-and-v1.mp3"));
  for (const std::string& copy : testing::damaged_copies(whole)) {
    read_file(folder.write("song.mp3", copy));
    EXPECT_EQ(status, 0) << copy.size() << " bytes";
  }
}

}  // namespace
}  // namespace corvexal
