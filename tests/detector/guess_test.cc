// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/guess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "detector/single_byte_sets.h"
#include "metadata/charset.h"
#include "metadata/detected_charset.h"
#include "metadata/legacy_texts.h"
#include "tests/detector/texts.h"

namespace corvexal {
namespace {

using testing::Score;

std::string guess(const std::string& sample, CodePage code_page = CodePage::kNoFile) {
  return std::string(guess_charset(sample, code_page));
}

TEST(GuessCharset, TellsEachKindOfSample) {
  const struct {
    const char* reason;
    std::string sample, charset;
  } rows[] = {
      {"nothing", "", ""},
      {"ASCII is the same in all sets", "Best of 1999 (Live)", ""},
      {"UTF-8", "Gr\xC3\xBC\xC3\x9F", "UTF-8"},
      {"a lone letter between ASCII letters", "Caf\xE9", "CP1252"},
      {"two in a row",
       "Stra\xDF"
       "e der K\xF6nige",
       "CP1252"},
      {"the euro sign", "100 \x80 im Monat", "CP1252"},
      {"not by the name that stands for Latin-1", "\xCF\xE5\xF1\xED\xFF \xEE \xEB\xFE\xE1\xE2\xE8", "CP1251"},
      {"not by the name that stands for CP1251", "\xF0\xC5\xD3\xCE\xD1 \xCF \xCC\xC0\xC2\xD7\xC9", "KOI8-U"},
      {"not by the name that stands for Latin-1", "\x8F\xA5\xE1\xAD\xEF \xAE \xAB\xEE\xA1\xA2\xA8", "CP866"},
      {"escapes", "\x1B$B2V\x1B(B", "ISO-2022-JP-2"},
      {"escapes", "\x1B$)C\x0E:Y\x0F", "ISO-2022-KR"},
      {"tildes", "~{VP9z~}", "HZ"},
      {"a tilde", "~ love ~{", ""},
      {"Unicode kana, of which no byte is above 0x7F", "0B0D0F0H", "UTF-16BE"},
      {"Unicode Russian without a space", "\x04\x1F\x04\x35\x04\x41\x04\x3D\x04\x4F", "UTF-16BE"},
      {"Unicode Russian with one: no set has both", "\x04\x1F\x04\x35 \x04\x41\x04\x3D\x04\x4F", ""},
      {"Unicode Hangul", "\xC0\xAC\xB7\x91\xB1\xF8\xB0\x78", "UTF-16BE"},
      {"bytes of UTF-16 in a Latin-1 text", "\xFF\xFE\x1F\x04\x35\x04\x41\x04", "UTF-16"},
      {"the same without a mark", "\x1F\x04\x35\x04\x41\x04\x3D\x04\x4F\x04", "UTF-16LE"},
      {"a four-byte character", "\xD6\xD0\xB9\xFA\x95\x32\x82\x36\xB5\xC4\xB8\xE8", "GB18030"},
      {"a character cut by the sample's end", "\xCE\xD2\xB0\xAE\xC4\xE3\xB5\xC4\xB8\xE8\xD6", "GB18030"},
      {"no text at all", "\xE0\x01\x02\x03\xE1\x02\x03\x04\xF5\x03\x01\x05\xE7\x05\x06\x01", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(guess(row.sample), row.charset) << row.reason << ": " << row.sample;
}

TEST(GuessCharset, TakesTheCodePageForShortSamplesOnly) {
  const std::string two_ideographs = "\xB0\xAE\xB8\xE8";
  EXPECT_EQ(guess(two_ideographs, CodePage::kGb), "GB18030");
  EXPECT_EQ(guess(two_ideographs, CodePage::kBig5), "CP950");
  EXPECT_EQ(guess(two_ideographs, CodePage::kJapanese), "EUC-JP");
  EXPECT_EQ(guess(two_ideographs, CodePage::kKorean), "CP949");
  for (const CodePage page : {CodePage::kGb, CodePage::kBig5, CodePage::kJapanese, CodePage::kKorean}) {
    EXPECT_EQ(guess("Gr\xFC\xDF"
                    "e aus der K\xFC"
                    "che",
                    page),
              "CP1252");
    EXPECT_EQ(guess("\xCF\xE5\xF1\xED\xFF \xEE \xEB\xFE\xE1\xE2\xE8", page), "CP1251");
  }
}

// Every character of our tables is the one that the converter makes of its byte.
TEST(SingleByteSets, AgreeWithTheConverter) {
  Converters converters;
  for (const SingleByteSet& set : single_byte_sets()) {
    ASSERT_EQ(set.upper_half.size(), 128U) << set.name;
    for (unsigned byte = 0x80; byte <= 0xFF; ++byte) {
      const char16_t expected = set.upper_half[byte - 0x80];
      if (expected == u'?') continue;
      std::string made;
      const std::string text(1, static_cast<char>(byte));
      EXPECT_EQ(converters.convert("UTF-16BE", std::string(set.name).c_str(), text, &made), 0);
      EXPECT_EQ(made, std::string({static_cast<char>(expected >> 8), static_cast<char>(expected & 0xFF)}))
          << set.name << " " << byte;
    }
  }
}

bool comes_out_right(const testing::SongTexts& song, const std::vector<std::string>& bytes,
                     CodePage code_page) {
  const std::string charset = charset_of_answer(guess(testing::sample_of(bytes), code_page));
  Converters converters;
  for (std::size_t i = 0; i < song.size(); ++i)
    if (convert_to_utf8(converters, bytes[i], charset.c_str()).text != song[i]) return false;
  return true;
}

Score score(const testing::LanguageTexts& texts, const std::string& charset, CodePage code_page) {
  Score score;
  for (const testing::SongTexts& song : texts.songs) {
    const std::vector<std::string> bytes = testing::encoded(song, charset);
    if (bytes.empty()) continue;
    score.add(comes_out_right(song, bytes, code_page));
  }
  return score;
}

// The floors lie below what is measured (docs/character-sets.md): a change that falls under them has lost
// something that matters.
TEST(GuessCharset, GetsTheTextsOfEveryLanguageRight) {
  Score western, others, with_code_page;
  for (const testing::LanguageTexts& texts : testing::all_texts()) {
    for (const std::string& charset : texts.charsets) {
      const Score found = score(texts, charset, CodePage::kNoFile);
      EXPECT_GE(found.all, 20) << texts.language << " in " << charset;
      EXPECT_GE(found.percent(), 75) << texts.language << " in " << charset;
      (charset == "CP1252" ? western : others) += found;
      if (const CodePage page = testing::code_page_of(charset); page != CodePage::kOther)
        with_code_page += score(texts, charset, page);
    }
  }
  EXPECT_GE(western.percent(), 98);
  EXPECT_GE(others.percent(), 96);
  EXPECT_GE(with_code_page.percent(), 99);
}

TEST(GuessCharset, TakesNoWesternTextForAsianWhateverTheCodePage) {
  Score western;
  for (const testing::LanguageTexts& texts : testing::all_texts())
    if (texts.charsets.front() == "CP1252")
      for (const CodePage page : {CodePage::kBig5, CodePage::kGb, CodePage::kJapanese, CodePage::kKorean})
        western += score(texts, "CP1252", page);
  EXPECT_GE(western.percent(), 98);
}

// The way of texts that a tag does not say to be Unicode, with the program itself.
TEST(LegacyTexts, ComeOutRightWithTheCompanion) {
  setenv("PATH", CORVEXAL_PROGRAMS, 1);
  TagDecoder decoder;
  if (decoder.detector.detect("Caf\xE9").empty()) GTEST_SKIP() << "the companion does not start here";
  Score score;
  for (const testing::LanguageTexts& texts : testing::all_texts()) {
    for (const std::string& charset : texts.charsets) {
      if (charset == "ISO-2022-JP") continue;  // ASCII to every eye
      for (std::size_t i = 0; i < texts.songs.size(); i += 5) {
        const std::vector<std::string> bytes = testing::encoded(texts.songs[i], charset);
        if (bytes.empty()) continue;
        const std::vector<Text> decoded = decode_legacy_texts(decoder, bytes);
        score.add(std::equal(decoded.begin(), decoded.end(), texts.songs[i].begin()));
      }
    }
  }
  EXPECT_GE(score.all, 200);
  EXPECT_GE(score.percent(), 96);
}

}  // namespace
}  // namespace corvexal
