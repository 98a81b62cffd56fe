#include "metadata/id3_tags.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/log.h"
#include "metadata/encoding_detector.h"
#include "tests/metadata/damaged_copies.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/support/fake_detector.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::be;
using testing::CapturedOutput;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using Texts = std::array<Text, 4>;

const std::string kMusic = "\xFF\xFB\x90\x44" + std::string(60, '\0');

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

class Id3Tags : public ::testing::Test {
 protected:
  Id3Tags() { have_title = have_artist = have_album = have_genre = 0; }

  // Title, artist, album and genre of the file; `song` and `status` have the rest.
  Texts read_file(const std::string& path) {
    song = {};
    song.fname = "song.mp3";
    song.type = "mp3";
    encoding_detector = EncodingDetector();
    status = scan_get_mp3tags(path, song);
    return {song.title, song.artist, song.album, song.genre};
  }
  Texts read(const std::string& bytes) { return read_file(folder.write("song.mp3", bytes)); }

  Texts read_tag(int version, const std::string& frames) {
    return read(id3_tag_bytes(version, frames) + kMusic);
  }
  Text album(const std::string& latin1) { return read_tag(3, id3_text(3, "TALB", latin1))[2]; }

  SongInfo song;
  int status = 0;
  testing::TestFolder folder;
  testing::FakeDetector detector;
};

TEST_F(Id3Tags, ReadsEveryVersion) {
  const struct {
    const char* name;
    Texts texts;
  } rows[] = {{"id3v1", {"Evening Tone", "Corvexal Ensemble", "Samples", "Classical"}},
              {"id3v23-utf16", {"春江花月夜", "桜の合唱団", "山水集", "Others"}},
              {"id3v23-latin1-big5", {"中國民謠", "王小明", "台灣之歌", "Others"}},
              {"id3v24-utf8", {"月光のワルツ", "Corvexal 合奏団", "音楽集", "Others"}}};
  for (const auto& row : rows)
    EXPECT_EQ(read_file(testing::sample("music/tag-") + row.name + ".mp3"), row.texts) << row.name;
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
  EXPECT_EQ(read_tag(3, frames), (Texts{"a title", "an artist", "an album", "Pop"}));
  log_level = 0;
  EXPECT_EQ(log.text(),
            "Compilation: 1\nCompilation: 1\n Artist: first\n Title: a title\n Artist: an artist\n Album: an "
            "album\n"
            " Genre: 13\nBPM: 120\nGot id3 tag successfully\n");
  EXPECT_EQ(song.bpm, 120);
  EXPECT_FALSE(song.composer || song.comment);
  EXPECT_EQ(have_title + have_artist + have_album + have_genre, 4);
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
              {"BIG5", "\xFF\xFF", std::nullopt}};
  for (const auto& row : rows) {
    detector.answers(row.answer);
    EXPECT_EQ(album(row.bytes), row.text) << row.answer << " " << row.bytes;
  }
  // A text that must be Unicode does not go through it.
  EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", "\3é中"))[2], "é中");
}

TEST_F(Id3Tags, StoresWhatCannotBeConvertedAsAbsent) {
  detector.answers("no such set");
  CapturedOutput out;
  EXPECT_EQ(read_tag(3, id3_text(3, "TIT2", "a") + id3_text(3, "TPE1", "a") + id3_text(3, "TCON", "13")),
            Texts{});
  EXPECT_EQ(out.text(), "Title NULL:fname[song.mp3]\n");
  EXPECT_EQ(have_title, 0);
  EXPECT_EQ(have_artist + have_genre, 2);
}

TEST_F(Id3Tags, SamplesTheFirstHundredBytes) {
  const auto titles = [](std::initializer_list<std::string> texts) {
    std::string frames;
    for (const std::string& text : texts) frames += id3_text(3, "TIT2", text);
    return frames;
  };
  const std::string a60(60, 'a'), b40(40, 'b');
  const struct {
    std::string frames, sample;
  } rows[] = {{titles({a60, b40}), a60 + b40},
              {titles({a60, b40 + "b", "c"}), a60},
              {titles({"a", "b", "c", "\0"s, "e", "f"}), "abce"},
              {id3_text(3, "TPE2", "a") + id3_frame(3, "COMM", "\0engd\0e"s) + id3_text(3, "TCOM", "f"), "f"},
              {id3_frame(3, "TIT2", "\1\xFF\xFE\x10\x04\0\x04"s) + titles({"a"}), "\x04\x10\x04"}};
  detector.answers("");
  for (const auto& row : rows) {
    read_tag(3, row.frames);
    EXPECT_EQ(detector.arguments(), std::vector{row.sample});
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

TEST_F(Id3Tags, RefusesWhatCannotBeOpened) {
  const std::string pipe = folder.path() + "/pipe.mp3";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  log_level = 2;
  for (const std::string& path : {pipe, folder.path(), "missing.mp3"s}) {
    CapturedOutput log(2);
    read_file(path);
    EXPECT_EQ(status, -1) << path;
    EXPECT_EQ(log.text(), "Cannot open " + path + "\n");
  }
  log_level = 0;
}

// Ends the process: with 0 when the file is read and that takes less than 56 MiB.
[[noreturn]] void read_in_little_memory(const std::string& path) {
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  SongInfo song;
  song.type = "mp3";
  const int status = scan_get_mp3tags(path, song);
  getrusage(RUSAGE_SELF, &after);
  std::fprintf(stderr, "%ld KiB\n", after.ru_maxrss - before.ru_maxrss);
  std::exit(status != 0 || after.ru_maxrss - before.ru_maxrss >= 56 << 10 ? 1 : 0);
}

// Shapes at the size that is just let through.
TEST_F(Id3Tags, ReadsEveryFileInLittleMemory) {
  // An emulator's or a sanitizer's own memory counts as well.
  if (std::endian::native != std::endian::little || dlsym(RTLD_DEFAULT, "__asan_init") != nullptr)
    GTEST_SKIP();
  const std::string jpeg = "\0image/jpeg\0\3\0"s, no_price = "\0\0"s + "20200101" + "\0\0\0\0\0\0"s;
  const std::string files[] = {
      id3_tag_bytes(3, id3_frame(3, "APIC", jpeg + std::string(15'000'000, 'x')), 0x80),
      id3_tag_bytes(4, id3_frame(4, "TIT2", std::string(1'000'000, '\0'))),
      id3_tag_bytes(3, repeated(id3_frame(3, "COMR", no_price), 36'000)),
      "ID3\3\0\0\x7F\x7F\x7F\x7F"s + std::string(45'000'000, 'x'),
  };
  for (const std::string& file : files) {
    const std::string path = folder.write("song.mp3", file + kMusic);
    malloc_trim(0);  // or the process would find memory that it need not ask for
    EXPECT_EXIT(read_in_little_memory(path), ::testing::ExitedWithCode(0), "") << file.substr(0, 14);
  }
}

TEST_F(Id3Tags, SurvivesDamageAndTagsThatAreTooMuch) {
  const std::string title = id3_text(3, "TIT2", "title");
  EXPECT_EQ(read_tag(3, title + id3_frame(3, "APIC", std::string(2'000'000, 'x'))), Texts{});
  EXPECT_EQ(status, 0);
  const std::string packed = id3_frame(3, "TPE1", be(40, 4) + "\x78\x9C\x03", 0x80);
  const std::string frames = title + packed + id3_frame(3, "APIC", "\0x\0\3\0\xFF"s);
  const std::string whole = id3_tag_bytes(3, frames) + kMusic + testing::id3v1_bytes("v1", "b", "c", 255);
  const CapturedOutput quiet;
  for (const std::string& copy : testing::damaged_copies(whole)) {
    read(copy);
    EXPECT_EQ(status, 0) << copy.size() << " bytes";
  }
}

}  // namespace
}  // namespace corvexal
