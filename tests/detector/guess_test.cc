// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/guess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detector/single_byte_sets.h"
#include "metadata/charset.h"
#include "metadata/converter.h"
#include "metadata/detected_charset.h"
#include "tests/detector/texts.h"

namespace corvexal {
namespace {

using testing::Score;

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

bool comes_out_right(const testing::SongTexts& song, const std::vector<std::string>& bytes, CodePage page) {
  const std::string charset = charset_of_answer(std::string(guess_charset(testing::sample_of(bytes), page)));
  Converters converters;
  for (std::size_t i = 0; i < song.size(); ++i)
    if (convert_to_utf8(converters, bytes[i], charset.c_str()).text != song[i]) return false;
  return true;
}

Score score(const testing::LanguageTexts& texts, const std::string& charset, CodePage page) {
  Score score;
  for (const testing::SongTexts& song : texts.songs)
    if (const std::vector<std::string> bytes = testing::encoded(song, charset); !bytes.empty())
      score.add(comes_out_right(song, bytes, page));
  return score;
}

// The floors lie below what is measured (docs/character-sets.md): a change that falls under them has lost
// something that matters. A device's code page takes no Western text for an Asian one.
TEST(GuessCharset, GetsTheTextsOfEveryLanguageRight) {
  Score western, western_elsewhere, others, with_code_page;
  for (const testing::LanguageTexts& texts : testing::all_texts()) {
    for (const std::string& charset : texts.charsets) {
      const bool is_western = charset == "CP1252";
      const Score found = score(texts, charset, CodePage::kNoFile);
      EXPECT_GE(found.all, 20) << texts.language << " in " << charset;
      EXPECT_GE(found.percent(), 75) << texts.language << " in " << charset;
      (is_western ? western : others) += found;
      const CodePage own = testing::code_page_of(charset);
      for (const CodePage page : {CodePage::kBig5, CodePage::kGb, CodePage::kJapanese, CodePage::kKorean})
        if (is_western || page == own)
          (is_western ? western_elsewhere : with_code_page) += score(texts, charset, page);
    }
  }
  EXPECT_GE(western.percent(), 98);
  EXPECT_GE(western_elsewhere.percent(), 98);
  EXPECT_GE(others.percent(), 96);
  EXPECT_GE(with_code_page.percent(), 99);
}

}  // namespace
}  // namespace corvexal
