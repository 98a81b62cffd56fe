#include "metadata/id3_tags.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/log.h"
#include "metadata/encoding_detector.h"
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

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;  // it needs memory of its own, and copies a list that grows each time
#else
constexpr bool kSanitized = false;
#endif

const std::string kMusic = "\xFF\xFB\x90\x44" + std::string(60, '\0');

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

class Id3Tags : public ::testing::Test {
 protected:
  Id3Tags() { have_title = have_artist = have_album = have_genre = 0; }

  // Reads a file of these bytes; `status` has the result.
  SongInfo read(const std::string& bytes, const std::string& type = "mp3") {
    SongInfo song;
    song.fname = "song.mp3";
    song.type = type;
    encoding_detector = EncodingDetector();
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

TEST_F(Id3Tags, KeepsTheFileFromTheDetector) {
  const std::string list = folder_.path() + "/descriptors";
  detector_.runs("ls -l /proc/self/fd > " + list);
  read_tag(3, id3_text(3, "TIT2", "title"));
  const std::string descriptors = testing::read_file(list);
  EXPECT_NE(descriptors.find("/dev/null"), std::string::npos) << descriptors;
  EXPECT_EQ(descriptors.find("song.mp3"), std::string::npos) << descriptors;
}

TEST_F(Id3Tags, TakesTheBeginningOfALongText) {
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", std::string(1023, 'a'))).album, std::string(1023, 'a'));
  EXPECT_EQ(read_tag(3, id3_text(3, "TALB", std::string(100'000, 'a'))).album, std::string(1023, 'a'));
  EXPECT_EQ(read_tag(4, id3_frame(4, "TALB", "\3" + repeated("中", 1000))).album,
            repeated("中", 1000));  // whole
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
  const struct {
    std::string path;
    std::string message;
  } rows[] = {{pipe, "Cannot open " + pipe + "\n"},
              {folder_.path(), "Cannot open " + folder_.path() + "\n"},
              {"missing.mp3", "Cannot open missing.mp3\n"}};
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

// Reads the file in a process of its own, which ends when it takes too long. Returns the memory that this
// needed at most, in MiB, or -1 when it took too long or gave another result than 0.
int memory_to_read(const std::string& path) {
  const auto most_memory = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  };
  malloc_trim(0);  // or the child would find memory that it need not ask for
  const pid_t child = fork();
  if (child == 0) {
    alarm(10);
    const long before = most_memory();
    SongInfo song;
    song.type = "mp3";
    if (scan_get_mp3tags(path, song) != 0) _exit(255);
    _exit(static_cast<int>(std::min((most_memory() - before) / 1024, 254L)));
  }
  int ending = 0;
  waitpid(child, &ending, 0);
  return WIFEXITED(ending) && WEXITSTATUS(ending) != 255 ? WEXITSTATUS(ending) : -1;
}

// A frame of version 2.3 whose body, all zero bytes, is compressed (RFC 1950, in blocks stored as they are).
std::string compressed_zeros(std::string_view id, std::size_t size) {
  constexpr std::size_t kBlock = 0x8000;
  std::string packed = "\x78\x01";
  for (std::size_t left = size / kBlock; left-- > 0;)
    packed.append(left == 0 ? "\1" : "\0", 1).append("\x00\x80\xFF\x7F", 4).append(kBlock, '\0');
  size = size / kBlock * kBlock;
  return id3_frame(3, id, be(size, 4) + packed + be(size % 65521, 2) + "\0\1"s, 0x80);
}

// Every shape at the size that is just let through and at one far beyond.
TEST_F(Id3Tags, ReadsEveryFileInLittleMemoryAndTime) {
  const std::string seek = id3_frame(4, "SEEK", "\0\0\0\0"s);
  const std::string last = id3_tag_bytes(4, seek + std::string(104, '\0'));
  const std::string jpeg = "\1image/jpeg\0\3\xFF\xFE\x41\0\0\0"s;
  const auto tag = [](int version, const std::string& frames) {
    return id3_tag_bytes(version, frames) + kMusic;
  };
  const auto description = [&](std::size_t size) { return "\0image/jpeg\0\3"s + std::string(size, 'x'); };
  using Size = std::size_t;
  const struct {
    const char* what;
    std::vector<Size> sizes;
    std::function<std::string(Size)> file;
  } rows[] = {
      {"a tag in the last 128 bytes that leads to itself", {0}, [&](Size) { return last; }},
      {"a tag that leads to the last 128 bytes", {0}, [&](Size) { return id3_tag_bytes(4, seek) + last; }},
      {"a picture",
       {23'000'000, 52'000'000},
       [&](Size n) { return tag(3, id3_frame(3, "APIC", jpeg + std::string(n, 'x'))); }},
      {"a picture of 2.2",
       {16'000'000},
       [&](Size n) {
         return tag(2, id3_frame(2, "PIC", "\0JPG\3\0\xFF\xD8\xFF\xE0\0"s + std::string(n, 'x')));
       }},
      {"a picture, unsynchronised",
       {15'000'000, 23'000'000},
       [&](Size n) {
         return id3_tag_bytes(3, id3_frame(3, "APIC", jpeg + std::string(n, 'x')), 0x80) + kMusic;
       }},
      {"a picture, unsynchronised in 2.4",
       {15'000'000, 23'000'000},
       [&](Size n) { return tag(4, id3_frame(4, "APIC", jpeg + std::string(n, 'x'), 2)); }},
      {"a picture of which all is description",
       {1'000'000, 20'000'000},
       [&](Size n) { return tag(3, id3_frame(3, "APIC", description(n))); }},
      {"an object",
       {23'000'000},
       [&](Size n) { return tag(3, id3_frame(3, "GEOB", "\0a\0b\0c\0"s + std::string(n, 'x'))); }},
      {"a chapter", {23'000'000}, [&](Size n) { return tag(4, id3_frame(4, "CHAP", std::string(n, 'x'))); }},
      {"a list of empty strings",
       {1'000'000, 15'000'000},
       [&](Size n) { return tag(4, id3_frame(4, "TIT2", std::string(n, '\0'))); }},
      {"the same in 2.2",
       {1'000'000, 15'000'000},
       [&](Size n) { return tag(2, id3_frame(2, "TT2", std::string(n, '\0'))); }},
      {"the same compressed",
       {1'000'000, 15'000'000},
       [&](Size n) { return tag(3, compressed_zeros("TIT2", n)); }},
      {"links",
       {1'000'000, 15'000'000},
       [&](Size n) { return tag(4, id3_frame(4, "LINK", "TIT2a\0"s + std::string(n, '\0'))); }},
      {"little frames",
       {80'000, 1'000'000},
       [&](Size n) { return tag(3, repeated(id3_text(3, "TIT2", "a"), n)); }},
      {"little frames of many fields",
       {36'000, 500'000},
       [&](Size n) {
         return tag(3, repeated(id3_frame(3, "COMR", "\0\0"s + "20200101" + "\0\0\0\0\0\0"s), n));
       }},
      {"little frames of 2.2",
       {80'000, 1'000'000},
       [&](Size n) { return tag(2, repeated(id3_text(2, "TT2", ""), n)); }},
      {"a tag cut short",
       {45'000'000, 52'000'000},
       [&](Size n) { return "ID3\3\0\0\x7F\x7F\x7F\x7F"s + std::string(n, 'x'); }},
  };
  for (const auto& row : rows)
    for (const Size full_size : row.sizes) {
      const Size size = kSanitized ? full_size / 1000 : full_size;
      const std::string path = folder_.write("song.mp3", row.file(size));
      const int memory = memory_to_read(path);
      EXPECT_GE(memory, 0) << row.what << " of " << size;
      EXPECT_TRUE(kSanitized || memory < 56) << row.what << " of " << size << ": " << memory << " MiB";
    }
}

TEST_F(Id3Tags, TakesASongWithoutTagsThatAreTooMuch) {
  const std::string frames = id3_text(3, "TIT2", "title") + id3_text(3, "TPE1", "artist");
  const std::string cover = id3_frame(3, "APIC", "\0image/jpeg\0\3\0"s + std::string(17'000'000, 'x'));
  EXPECT_EQ(read_tag(3, frames + cover).title, "title");
  have_title = have_artist = 0;
  const SongInfo song = read_tag(3, frames + cover + cover);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(song.title, std::nullopt);
  EXPECT_EQ(have_title + have_artist, 0);
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
    const CapturedOutput quiet;
    read(spoilt);
    EXPECT_EQ(status, 0) << round;
  }
}

}  // namespace
}  // namespace corvexal
