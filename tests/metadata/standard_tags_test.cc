// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/memory_file.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::be;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using testing::le;
using testing::repeated;
using testing::Row;
using testing::row_of;
using testing::zeros;

class StandardTags : public ::testing::Test {
 protected:
  // Title, artist, album and genre of the file; `song` has the rest.
  Row read_file(const std::string& path) {
    song = {};
    song.type = path.substr(path.rfind('.') + 1);
    EXPECT_EQ(read_standard_tags(decoder, path, song), 0) << path;
    return row_of(song.title, song.artist, song.album, song.genre);
  }
  Row read(const std::string& bytes, const std::string& name = "song.mp3") {
    return read_file(folder.write(name, bytes));
  }
  void detector_answers(const char* answer) {
    detector.answers(answer);
    decoder.detector = EncodingDetector();
  }
  // The title of an MP3 file whose tag holds it in a frame of this body.
  std::string title(const std::string& body, int version = 4) {
    return read(id3_tag_bytes(version, id3_frame(version, version == 2 ? "TT2" : "TIT2", body)))[0];
  }

  SongInfo song;
  TagDecoder decoder;
  testing::TestFolder folder;
  testing::FakeDetector detector;
};

TEST_F(StandardTags, ReadsEveryFormat) {
  for (const Row& row : testing::table("standard_tags")) {
    const std::string path = testing::sample("../" + row[0]);
    const auto all = [&] {
      return row_of(row[0], song.title, song.artist, song.album, song.genre, song.comment, song.composer,
                    song.grouping, song.year, song.track, song.total_tracks, song.disc, song.total_discs,
                    song.bpm, song.compilation, song.song_length, song.bitrate, song.samplerate);
    };
    read_file(path);
    EXPECT_EQ(all(), row);
    // Whatever it is called.
    read(testing::read_file(path), path.ends_with(".mp3") ? "song.flac" : "song.mp3");
    EXPECT_EQ(all(), row);
    EXPECT_EQ(song.file_size, std::ssize(testing::read_file(path)));
  }
}

TEST_F(StandardTags, TakesUnicodeAsItIsAndRepairsIt) {
  const struct {
    std::string body, title;
  } rows[] = {
      {"\1\xFF\xFE\x42\x04\x35\x04"s, "те"},  // UTF-16, both orders
      {"\1\xFE\xFF\x04\x42\x04\x35"s, "те"},  //
      {"\1\x42\x04\x35\x04"s, "те"},          // without its mark
      {"\2\x04\x42\x04\x35"s, "те"},          //
      {"\1\xFF\xFE\x3C\xD8\xB5\xDF!"s, "🎵"},  // a pair of surrogates, half a unit
      {"\1\xFF\xFE\x3C\xD8!\0"s, "\uFFFD!"},  // a lone one
      {"\1\xFF\xFE\xB5\xDF\x3C\xD8"s, "\uFFFD\uFFFD"},
      {"\1\xFF\xFE"
       "a\0\0\0b\0"s,
       "a"},  // up to a zero
      {"\3one\0two"s, "one"},
      {"\3line\nfeed \"quoted\""s, "line\nfeed \"quoted\""},
      {"\3   "s, "-"},
      {"\0caf\xC3\xA9"s, "café"},  // UTF-8 that calls itself Latin-1
      {"\1\xFF\xFE"s, "-"},
      {"\7odd"s, "odd"},
  };
  for (const auto& row : rows)
    for (const int version : {2, 3, 4}) EXPECT_EQ(title(row.body, version), row.title) << version;
  EXPECT_EQ(title("\3" + repeated("ж", 600'000)), repeated("ж", 2048));
  EXPECT_EQ(title("\3x" + repeated("ж", 600'000)), "x" + repeated("ж", 2047));
  EXPECT_TRUE(detector.arguments().empty());
}

TEST_F(StandardTags, DecodesTheTextsOfATagByOneDecision) {
  const std::string cyrillic = "\xCF\xE5\xF1\xED\xE8", latin = "\xC3\xA9t\xC3\xA9";
  const std::string tag = id3_tag_bytes(3, id3_text(3, "TIT2", cyrillic) + id3_text(3, "TALB", latin) +
                                               id3_frame(3, "TPE1", "\1\xFF\xFE\xE9\0"s));
  detector_answers("CP1251");
  EXPECT_EQ(read(tag), (Row{"Песни", "é", "Г©tГ©", "-"}));
  EXPECT_EQ(detector.arguments(), std::vector{cyrillic + latin});
  // What does not fit the answer, and what has none, is left to the lists of the code page.
  const std::string chinese = id3_tag_bytes(3, id3_text(3, "TIT2", "\xD6\xD0\xCE\xC4"));
  decoder.code_page_set = "autodetect_GB";
  for (const char* answer : {"UTF-8", "no such set", ""}) {
    detector_answers(answer);
    EXPECT_EQ(read(chinese)[0], "中文") << answer;
  }
  // Formats whose texts are UTF-8 by definition hold others all the same.
  detector_answers("CP1251");
  EXPECT_EQ(read_file(testing::sample("../fuzz/corpus/standard_tags/monkeys.ape"))[0], "ape При");
}

TEST_F(StandardTags, KnowsGenresByNumberAndByName) {
  const struct {
    const char *text, *genre;
  } rows[] = {{"13", "Pop"},    {"(13)", "Pop"}, {"(17)Own name", "Rock"},
              {"80s", "80s"},   {"255", "-"},    {"144", "Thrash Metal"},
              {"Rock", "Rock"}, {"RX", "Remix"}, {"(CR)", "Cover"}};
  for (const auto& row : rows) {
    EXPECT_EQ(read(id3_tag_bytes(4, id3_text(4, "TCON", row.text)))[3], row.genre) << row.text;
    EXPECT_EQ(read("RIFF"s + le(500, 4) + "WAVELIST" + le(12 + std::string(row.text).size(), 4) + "INFOIGNR" +
                   le(std::string(row.text).size(), 4) + row.text)[3],
              row.genre)
        << row.text;
  }
}

// A WMA file with one attribute in its extended content description.
std::string asf_with(std::string_view name, std::uint64_t type, const std::string& value) {
  const auto utf16 = [](std::string_view ascii) {
    std::string text;
    for (const char c : ascii) (text += c) += '\0';
    return text + "\0\0"s;
  };
  const std::string key = utf16(name);
  const std::string attributes =
      le(1, 2) + le(key.size(), 2) + key + le(type, 2) + le(value.size(), 2) + value;
  const std::string object = "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50"s +
                             le(attributes.size() + 24, 8) + attributes;
  return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s + le(object.size() + 30, 8) +
         le(1, 4) + "\1\2" + object;
}

TEST_F(StandardTags, FindsAnId3v2TagAtTheEnd) {
  std::string tag = id3_tag_bytes(4, id3_text(4, "TIT2", "Last"));
  tag[5] = 0x10;  // it has a footer
  const std::string sound = testing::read_file(testing::sample("music/vbr.mp3")),
                    footer = "3DI" + tag.substr(3, 7);
  const std::string id3v1 = "TAGOld" + zeros(27) + "Singer" + zeros(89);
  EXPECT_EQ(read(sound + tag + footer), (Row{"Last", "-", "-", "-"}));
  EXPECT_EQ(read(sound + tag + footer + id3v1), (Row{"Last", "Singer", "-", "Blues"}));
  EXPECT_EQ(read(id3_tag_bytes(4, id3_text(4, "TIT2", "First")) + sound + tag + footer)[0], "First");
  for (const std::string& broken : {footer, tag.substr(1) + footer, "3DI\4\0\x10\x7F\x7F\x7F\x7F"s})
    EXPECT_EQ(read(broken)[0], "-");
}

TEST_F(StandardTags, TakesACompilationOfWmaAsATruthValueAndAsAText) {
  const struct {
    int type;
    std::string value;
    int compilation;
  } rows[] = {
      {2, le(1, 4), 1}, {2, le(0, 4), 0}, {3, le(1, 4), 1}, {0, "t\0r\0u\0e\0\0\0"s, 1}, {0, "0\0\0\0"s, 0}};
  for (const auto& row : rows) {
    read(asf_with("WM/IsCompilation", static_cast<std::uint64_t>(row.type), row.value), "song.wma");
    EXPECT_EQ(song.compilation, row.compilation) << row.type << row.value;
  }
}

TEST_F(StandardTags, TakesTheTextChunksOfAiffBesideItsId3Tag) {
  const auto chunk = [](const std::string& name, const std::string& body) {
    return name + be(body.size(), 4) + body + std::string(body.size() % 2, '\0');
  };
  const auto aiff = [&](const std::string& chunks) {
    return "FORM" + be(chunks.size() + 4, 4) + "AIFF" + chunks;
  };
  const std::string name = chunk("NAME", "\xCF\xE5\xF1\xED\xE8");
  const std::string texts =
      name + chunk("NAME", "Another") + chunk("AUTH", "Singer\0"s) + chunk("ANNO", "A note");
  detector_answers("CP1251");
  EXPECT_EQ(read(aiff(texts), "song.aif"), (Row{"Песни", "Singer", "-", "-"}));
  EXPECT_EQ(song.comment, "A note");
  const std::string id3 = chunk("ID3 ", id3_tag_bytes(4, id3_text(4, "TIT2", "Tagged")));
  EXPECT_EQ(read(aiff(texts + id3), "song.aif"), (Row{"Tagged", "Singer", "-", "-"}));
}

// A file of each format with a picture of the given size in front of a title.
std::vector<std::pair<std::string, std::string>> heads_before_pictures(std::size_t picture) {
  const auto u32 = [](std::size_t n) {
    return static_cast<std::uint32_t>(std::min<std::size_t>(n, 0xFFFFFF00));
  };
  const std::size_t in_tag = std::min<std::size_t>(picture, 0xFFFFF00);
  const std::size_t in_block = std::min<std::size_t>(picture, 0xFFFFFF);
  const std::string title = id3_text(3, "TIT2", "title");
  return {
      {"ID3\3\0\0"s + testing::syncsafe(in_tag + 10 + title.size()) + "APIC" + be(in_tag, 4) + zeros(2),
       title},
      {"fLaC"s + be(34, 4) + zeros(34) + "\6" + be(in_block, 3),
       "\x84" + be(23, 3) + zeros(4) + le(1, 4) + le(11, 4) + "TITLE=title"},
      {be(12, 4) + "ftypM4A " + be(u32(picture) + 73, 4) + "moov" + be(u32(picture) + 65, 4) + "udta" +
           be(u32(picture) + 57, 4) + "meta" + zeros(4) + be(u32(picture) + 45, 4) + "ilst" +
           be(u32(picture) + 8, 4) + "covr",
       be(29, 4) + "\xA9nam" + be(21, 4) + "data" + be(1, 4) + zeros(4) + "title"},
      {"RIFF" + le(u32(picture), 4) + "WAVEJPEG" + le(u32(picture), 4),
       "LIST" + le(17, 4) + "INFOINAM" + le(5, 4) + "title"},
      {"FORM" + be(u32(picture), 4) + "AIFFJPEG" + be(u32(picture), 4),
       "ID3 " + be(10 + title.size(), 4) + id3_tag_bytes(3, title)},
  };
}

bool has_sanitizer() {
  return dlsym(RTLD_DEFAULT, "__asan_init") != nullptr;
}

TEST_F(StandardTags, ReadsPastPicturesInLittleMemory) {
  if (has_sanitizer()) GTEST_SKIP();  // its own memory counts as well
  for (const std::size_t picture : {std::size_t{10} << 20, std::size_t{2} << 30}) {
    for (const auto& [head, tail] : heads_before_pictures(picture)) {
      const std::string path = folder.write("head", head);
      const std::size_t in_file = head.starts_with("ID3")    ? std::min<std::size_t>(picture, 0xFFFFF00)
                                  : head.starts_with("fLaC") ? std::min<std::size_t>(picture, 0xFFFFFF)
                                                             : picture;
      const std::string file = folder.write_sparse("song.mp3", head, head.size() + in_file, tail);
      const auto read_and_end = [&] {
        rusage before{}, after{};
        getrusage(RUSAGE_SELF, &before);
        const bool right = read_file(file)[0] == "title";
        getrusage(RUSAGE_SELF, &after);
        std::_Exit(right && after.ru_maxrss - before.ru_maxrss < 5 << 10 ? 0 : 1);
      };
      malloc_trim(0);
      EXPECT_EXIT(read_and_end(), ::testing::ExitedWithCode(0), "") << head.substr(0, 4) << picture;
    }
  }
}

TEST_F(StandardTags, SurvivesDamage) {
  for (const Row& row : testing::table("standard_tags")) {
    if (!row[0].starts_with("fuzz/")) continue;
    const std::string whole = testing::read_file(testing::sample("../" + row[0]));
    for (const std::string& copy : testing::damaged_copies(whole))
      read_file(MemoryFile({reinterpret_cast<const std::uint8_t*>(copy.data()), copy.size()}).path());
  }
  EXPECT_EQ(mkfifo((folder.path() + "/pipe.mp3").c_str(), 0600), 0);
  EXPECT_EQ(read_standard_tags(decoder, folder.path() + "/pipe.mp3", song), -1);
}

}  // namespace
}  // namespace corvexal
