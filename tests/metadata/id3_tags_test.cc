#include "metadata/id3_tags.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "base/log.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/support/fake_detector.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::be;
using testing::CapturedOutput;
using testing::FakeDetector;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using Arguments = std::vector<std::string>;

const std::string kMusic = "\xFF\xFB\x90\x44" + std::string(60, '\0');

class Id3Tags : public ::testing::Test {
 protected:
  Id3Tags() { have_title = have_artist = have_album = have_genre = 0; }

  // Reads a file of these bytes; `status` has the result.
  SongInfo read(const std::string& bytes, const std::string& type = "mp3") {
    SongInfo song;
    song.fname = "song.mp3";
    song.type = type;
    status = scan_get_mp3tags(folder_.write("song.mp3", bytes), song);
    return song;
  }

  // The same for a tag of these frames in front of some music.
  SongInfo read_tag(int version, const std::string& frames) {
    return read(id3_tag_bytes(version, frames) + kMusic);
  }

  // What the detector was asked about a tag of these frames.
  Arguments sample_of(const std::string& frames) {
    read_tag(3, frames);
    return detector_.arguments();
  }

  int status = 0;
  testing::TestFolder folder_;
  FakeDetector detector_;
};

TEST_F(Id3Tags, ReadsEveryVersion) {
  const std::string utf16 = id3_frame(3, "TIT2", "\1\xFF\xFE-N\x87\x65"s) + id3_text(3, "TCON", "(17)Rock");
  const std::string utf8 = id3_frame(4, "TIT2", "\3中文"s) + id3_text(4, "TCON", "17");
  const std::string v22 = id3_text(2, "TT2", "title") + id3_text(2, "TCO", "17") + id3_text(2, "TCP", "1");
  const struct {
    const char* what;
    std::string bytes;
    const char* title;
    int compilation;
  } rows[] = {{"v1", kMusic + testing::id3v1_bytes("title", "artist", "album", 17), "title", 0},
              {"v2.2", id3_tag_bytes(2, v22), "title", 1},
              {"v2.3, UTF-16", id3_tag_bytes(3, utf16) + kMusic, "中文", 0},
              {"v2.4, UTF-8", id3_tag_bytes(4, utf8) + kMusic, "中文", 0}};
  for (const auto& row : rows) {
    const SongInfo song = read(row.bytes);
    EXPECT_EQ(status, 0) << row.what;
    EXPECT_EQ(song.title, row.title) << row.what;
    EXPECT_EQ(song.genre, "Rock") << row.what;
    EXPECT_EQ(song.compilation, row.compilation) << row.what;
  }
}

TEST_F(Id3Tags, ReadsTheSamples) {
  const struct {
    const char* name;
    Text title, artist, album, genre;
    int bpm;
  } rows[] = {
      {"tag-id3v1.mp3", "Evening Tone", "Corvexal Ensemble", "Samples", "Classical", 0},
      {"tag-id3v23-utf16.mp3", "春江花月夜", "桜の合唱団", "山水集", "Others", 0},
      {"tag-id3v24-utf8.mp3", "月光のワルツ", "Corvexal 合奏団", "音楽集", "Others", 120},
      {"tag-id3v23-latin1-big5.mp3", "中國民謠", "王小明", "台灣之歌", "Others", 0},
      {"vbr.mp3", std::nullopt, std::nullopt, std::nullopt, std::nullopt, 0},
  };
  for (const auto& row : rows) {
    SongInfo song;
    song.type = "mp3";
    EXPECT_EQ(scan_get_mp3tags(testing::sample("music/") + row.name, song), 0) << row.name;
    EXPECT_EQ(song.title, row.title) << row.name;
    EXPECT_EQ(song.artist, row.artist) << row.name;
    EXPECT_EQ(song.album, row.album) << row.name;
    EXPECT_EQ(song.genre, row.genre) << row.name;
    EXPECT_EQ(song.bpm, row.bpm) << row.name;
  }
}

TEST_F(Id3Tags, FillsTheFieldsAndSaysSo) {
  detector_.answers("windows-1252");
  const std::string frames = id3_text(3, "TIT2", "a title") + id3_text(3, "TPE1", "an artist") +
                             id3_text(3, "TPE2", "a band") + id3_text(3, "TALB", "an album") +
                             id3_text(3, "TCON", "13") + id3_text(3, "TBPM", "120") +
                             id3_text(3, "TCOM", "a composer") + id3_text(3, "YTCP", "0") +
                             id3_frame(3, "COMM", "\0enghead\0a comment"s);
  CapturedOutput log(2);
  log_level = 9;
  const SongInfo song = read_tag(3, frames);
  log_level = 0;
  EXPECT_EQ(log.text(),
            "Compilation: 1\n Title: a title\n Artist: an artist\n Album: an album\n Genre: 13\nBPM: 120\n"
            "Compilation: 1\nGot id3 tag successfully\n");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(song.title, "a title");
  EXPECT_EQ(song.artist, "an artist");
  EXPECT_EQ(song.album, "an album");
  EXPECT_EQ(song.genre, "Pop");
  EXPECT_EQ(song.bpm, 120);
  EXPECT_EQ(song.compilation, 1);
  EXPECT_EQ(song.composer, std::nullopt);
  EXPECT_EQ(song.comment, std::nullopt);
  EXPECT_EQ(have_title + have_artist + have_album + have_genre, 4);
  EXPECT_EQ(detector_.arguments(), Arguments{"a titlean artistan albuma composer"});
}

TEST_F(Id3Tags, TakesTheSetFromTheDetectorsAnswer) {
  const struct {
    const char* answer;
    std::string bytes;
    Text text;
  } rows[] = {{"windows-1251", "\xE9", "é"},
              {"IBM866", "\xE9", "é"},
              {"windows-1252", "\x80\xE9", "€é"},
              {"KOI8-R", "\xCF\xE5\xF1\xED\xFF", "Песня"},
              {"gb18030", "\xD6\xD0\xB9\xFA", "中国"},
              {"BIG5", "\xA4\xA4", "中"},
              {"", "\xA4\xA4", "中"},
              {"", "Caf\xE9!", "Café!"},
              {"gb18030\n", "a", std::nullopt},
              {"no such set", "a", std::nullopt},
              {"BIG5", "\xFF\xFF", std::nullopt}};
  for (const auto& row : rows) {
    detector_.answers(row.answer);
    EXPECT_EQ(read_tag(3, id3_text(3, "TALB", row.bytes)).album, row.text) << row.answer << " " << row.bytes;
  }
  // A text that must be Unicode does not go through it.
  detector_.answers("KOI8-R");
  EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", "\3é中")).album, "é中");
}

TEST_F(Id3Tags, StoresWhatCannotBeConvertedAsAbsent) {
  detector_.answers("no such set");
  CapturedOutput out;
  const SongInfo song =
      read_tag(3, id3_text(3, "TIT2", "a") + id3_text(3, "TPE1", "a") + id3_text(3, "TALB", "a") +
                      id3_text(3, "TCON", "13") + id3_text(3, "TBPM", "120"));
  EXPECT_EQ(out.text(), "Title NULL:fname[song.mp3]\n");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(have_title, 0);
  EXPECT_EQ(have_artist + have_album + have_genre, 3);
  for (const Text& text : {song.title, song.artist, song.album, song.genre}) EXPECT_EQ(text, std::nullopt);
  EXPECT_EQ(song.bpm, 0);
}

TEST_F(Id3Tags, LetsALaterFrameOverwriteAnEarlierOne) {
  EXPECT_EQ(read_tag(3, id3_text(3, "TPE1", "first") + id3_text(3, "TPE1", "second")).artist, "second");
  EXPECT_EQ(read_tag(4, id3_text(4, "TPE1", "one\0two"s)).artist, "one");
  EXPECT_EQ(read_tag(4, id3_text(4, "TCON", "\0"s)).genre, "Others");
}

TEST_F(Id3Tags, SamplesTheFirstHundredBytes) {
  detector_.answers("");
  const auto title = [](std::size_t size, char c) { return id3_text(3, "TIT2", std::string(size, c)); };
  const std::string a60(60, 'a');
  const struct {
    const char* what;
    std::string frames;
    std::string sample;
  } rows[] = {
      {"nothing", "", ""},
      {"100 bytes", title(60, 'a') + title(40, 'b'), a60 + std::string(40, 'b')},
      {"101 bytes", title(60, 'a') + title(41, 'b') + title(1, 'c'), a60},
      {"too long at once", title(150, 'a') + title(1, 'b'), ""},
      {"far too long", title(5000, 'a'), ""},
      {"five frames",
       title(1, 'a') + title(1, 'b') + title(1, 'c') + id3_text(3, "TIT2", "\0"s) + title(1, 'e') +
           title(1, 'f'),
       "abce"},
      {"other frames",
       id3_text(3, "TPE2", "a") + id3_text(3, "TXXX", "b\0c"s) + id3_frame(3, "COMM", "\0engd\0e"s) +
           id3_text(3, "TCOM", "f"),
       "f"},
      {"bytes of UTF-16", id3_frame(3, "TIT2", "\1\xFF\xFE\x10\x04\xE9\0"s), "\x04\x10\xE9"},
      {"a zero byte", id3_frame(3, "TIT2", "\1\xFF\xFE\x10\x04\0\x04"s) + title(1, 'a'), "\x04\x10\x04"}};
  for (const auto& row : rows) EXPECT_EQ(sample_of(row.frames), Arguments{row.sample}) << row.what;
}

TEST_F(Id3Tags, HandsHostileTextsOverAsTheyAre) {
  detector_.answers("");
  const std::string victim = folder_.path() + "/x";
  for (const std::string& text :
       {"$(touch " + victim + ")", "\"; rm " + victim + "; \"", "`touch " + victim + "`"}) {
    EXPECT_EQ(sample_of(id3_text(3, "TIT2", text)), Arguments{text});
    EXPECT_FALSE(std::filesystem::exists(victim)) << text;
    EXPECT_EQ(read_tag(3, id3_text(3, "TIT2", text)).title, text);
  }
}

TEST_F(Id3Tags, TakesTheBeginningOfALongText) {
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", std::string(1023, 'a'))).album, std::string(1023, 'a'));
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", std::string(100'000, 'a'))).album, std::string(1023, 'a'));
  detector_.answers("BIG5");
  std::string big5 = "a";
  std::string utf8 = "a";
  for (int i = 0; i < 1000; ++i) big5 += "\xA4\xA4";
  for (int i = 0; i < 511; ++i) utf8 += "中";
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", big5)).album, utf8);
  big5.erase(0, 1);  // a character is cut in two
  utf8.erase(0, 1);
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", big5)).album, utf8);
}

TEST_F(Id3Tags, LooksAtMp3FilesAlone) {
  const std::string tagged = id3_tag_bytes(3, id3_text(3, "TIT2", "title"));
  EXPECT_EQ(read(tagged, "MP3").title, "title");
  for (const char* type : {"ogg", "mp", "mp33", ""}) {
    EXPECT_EQ(read(tagged, type).title, std::nullopt) << type;
    EXPECT_EQ(status, 0) << type;
  }
  SongInfo untyped;
  EXPECT_EQ(scan_get_mp3tags(folder_.path() + "/song.mp3", untyped), 0);
  EXPECT_EQ(untyped.title, std::nullopt);
  EXPECT_EQ(read(kMusic).title, std::nullopt);  // no tag at all
  EXPECT_EQ(status, 0);
}

TEST_F(Id3Tags, RefusesWhatCannotBeOpened) {
  const std::string pipe = folder_.path() + "/pipe.mp3";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string large = folder_.write("large.mp3", "ID3\3\0\0\x7F\x7F\x7F\x7F"s);
  ASSERT_EQ(truncate(large.c_str(), 1 << 30), 0);
  const struct {
    std::string path;
    std::string message;
  } rows[] = {{pipe, "Cannot open " + pipe + "\n"},
              {folder_.path(), "Cannot open " + folder_.path() + "\n"},
              {"missing.mp3", "Cannot open missing.mp3\n"},
              {large, "Cannot get ID3 tag for " + large + "\n"}};
  for (const auto& row : rows) {
    SongInfo song;
    song.type = "mp3";
    song.title = "as it was";
    CapturedOutput log(2);
    log_level = 2;
    EXPECT_EQ(scan_get_mp3tags(row.path, song), -1) << row.path;
    log_level = 0;
    EXPECT_EQ(log.text(), row.message);
    EXPECT_EQ(song.title, "as it was") << row.path;
  }
}

TEST_F(Id3Tags, SurvivesCutAndSpoiltFiles) {
  const std::string frames = id3_frame(3, "TIT2", "\1\xFF\xFE-N\x87\x65"s) + id3_text(3, "TCON", "(17)") +
                             id3_frame(3, "TPE1", be(40, 4) + "\x78\x9C\x03", 0x80) +
                             id3_frame(3, "COMM", "\1eng\xFF\xFE\0"s) +
                             id3_frame(3, "APIC", "\0x\0\3\0\xFF"s);
  const std::string whole = id3_tag_bytes(3, frames) + kMusic + testing::id3v1_bytes("v1", "b", "c", 255);
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    read(whole.substr(0, size));
    EXPECT_EQ(status, 0) << "cut to " << size << " bytes";
  }
  std::mt19937 random(1);  // NOLINT(cert-msc*): the same run every time
  for (int round = 0; round < 500; ++round) {
    std::string spoilt = whole;
    for (int i = 0; i < 4; ++i) spoilt[random() % spoilt.size()] = static_cast<char>(random());
    SongInfo song;
    {
      const CapturedOutput quiet;
      song = read(spoilt);
    }
    EXPECT_EQ(song.title.value_or("").find('\0'), std::string::npos) << round;
  }
}

}  // namespace
}  // namespace corvexal
