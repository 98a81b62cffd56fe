// SPDX-License-Identifier: GPL-3.0-or-later
// Prints how many songs of each language come out right to the byte, title, artist and album, when an MP3
// file's tag holds them as UTF-16, and as bytes of each old character set that it calls Latin-1. The detector
// is the one on PATH; with "codepage" the working folder's etc/codepage is set to each set's own, with
// "standard" tags are read as their standards say.
//   PATH=build/bench/bin build/bench/bin/encoding_figures [codepage] [standard]

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/charset.h"
#include "metadata/id3_tags.h"
#include "metadata/standard_tags.h"
#include "metadata/tag_decoder.h"
#include "tests/detector/texts.h"
#include "tests/metadata/id3_bytes.h"

namespace {

using corvexal::testing::Score;
using corvexal::testing::SongTexts;

// One file, over and over.
class Reader {
 public:
  explicit Reader(bool standard) {
    decoder_.standard = standard;
    corvexal::NameCharset names;
    names.CodePageType();
    decoder_.code_page_set = names.charset();
  }

  // True when the tag of these texts, each after its encoding byte, is read as `song`.
  bool reads(const std::vector<std::string>& bodies, const SongTexts& song) {
    constexpr std::string_view kFrames[] = {"TIT2", "TPE1", "TALB"};
    std::string frames;
    for (std::size_t i = 0; i < song.size(); ++i)
      frames += corvexal::testing::id3_frame(3, kFrames[i], bodies[i]);
    std::ofstream(path_, std::ios::binary) << corvexal::testing::id3_tag_bytes(3, frames);
    corvexal::SongInfo info;
    info.type = "mp3";
    const auto read = decoder_.standard ? corvexal::read_standard_tags : corvexal::scan_get_mp3tags;
    if (read(decoder_, path_, info) != 0) return false;
    return info.title == song[0] && info.artist == song[1] && info.album == song[2];
  }

 private:
  corvexal::TagDecoder decoder_;
  std::string path_ = "encoding_figures.mp3";
};

std::vector<std::string> with_encoding_byte(std::string_view byte, const std::vector<std::string>& texts) {
  std::vector<std::string> bodies;
  for (const std::string& text : texts) bodies.push_back(std::string(byte) + text);
  return bodies;
}

void set_code_page(const std::string& charset) {
  // As the enumeration has them; the last one is no word of the file's.
  constexpr const char* kWords[] = {"", "cp950", "cp936", "cp932", "cp949", ""};
  std::filesystem::create_directories("etc");
  const auto page = static_cast<std::size_t>(corvexal::testing::code_page_of(charset));
  std::ofstream("etc/codepage") << kWords[page];
}

}  // namespace

int main(int argc, char** argv) {
  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  const auto given = [&](std::string_view word) {
    return std::find(arguments.begin() + 1, arguments.end(), word) != arguments.end();
  };
  const bool set_code_pages = given("codepage"), standard = given("standard");
  Score unicode, latin, old;
  for (const corvexal::testing::LanguageTexts& texts : corvexal::testing::all_texts()) {
    Reader reader(standard);
    Score in_unicode;
    for (const SongTexts& song : texts.songs)
      in_unicode.add(
          reader.reads(with_encoding_byte("\1\xFF\xFE", corvexal::testing::encoded(song, "UTF-16LE")), song));
    unicode += in_unicode;
    std::printf("%-8s UTF-16 %5.1f", texts.language.c_str(), in_unicode.percent());
    for (const std::string& charset : texts.charsets) {
      if (set_code_pages) set_code_page(charset);
      Reader fresh(standard);  // which remembers no answer of another code page
      Score score;
      for (const SongTexts& song : texts.songs)
        if (const auto bytes = corvexal::testing::encoded(song, charset); !bytes.empty())
          score.add(fresh.reads(with_encoding_byte(std::string_view("\0", 1), bytes), song));
      (charset == "CP1252" ? latin : old) += score;
      std::printf("   %s %5.1f", charset.c_str(), score.percent());
    }
    std::puts("");
  }
  std::printf("UTF-16 %.1f of %d, Latin-1 %.1f of %d, old code pages %.1f of %d\n", unicode.percent(),
              unicode.all, latin.percent(), latin.all, old.percent(), old.all);
  return 0;
}
