// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string_view>

#include "report/decoding.h"
#include "report/tongues.h"

namespace corvexal::report {
namespace {

// Right texts, by their tongue.
constexpr struct {
  std::string_view tongue, text;
} kTexts[] = {
    {"Latin", "Für Elise"},
    {"Latin", "Été à Orléans… « déjà »"},
    {"Latin", "Þrúðvangar – Ásgeir"},
    {"Latin", "Gdańsk, żółć i jaźń"},
    {"Latin", "Đường về nhà"},
    {"Latin", "DÉJÀ VU’S CAFÉ"},
    {"Latin", "What???"},
    {"Greek", "Το τραγούδι της ημέρας"},
    {"Cyrillic", "Подмосковные вечера"},
    {"Cyrillic", "Щедрик"},
    {"Armenian", "Հայրենիք"},
    {"Hebrew", "ירושלים של זהב"},
    {"Arabic", "أنت عمري"},
    {"Arabic", "گل سنگم"},
    {"Devanagari", "तुम ही हो"},
    {"Bengali", "আমার সোনার বাংলা"},
    {"Tamil", "தமிழ்த்தாய் வாழ்த்து"},
    {"Thai", "เพลงชาติไทย"},
    {"Georgian", "სულიკო"},
    {"Korean", "아리랑 (Arirang)"},
    {"Japanese", "上を向いて歩こう"},
    {"Japanese", "ﾊﾝｶｸ song"},
    {"Chinese", "茉莉花 live"},
    {"Latin", "and I want你back so bad"},
    {"Ethiopic", "ትዝታ"},
    {"none", "1999 – 12''"},
    {"none", ""},
    {"none", "\xFF\xFE"},
};

TEST(Tongue, IsToldByTheLetters) {
  for (const auto& row : kTexts) EXPECT_EQ(tongue_of(row.text), row.tongue) << row.text;
}

TEST(Decoding, RightTextsPass) {
  DecodingJudge judge;
  for (const auto& row : kTexts) {
    if (row.text.starts_with('\xFF')) continue;
    // As the catalogue cuts them.
    for (std::size_t size = 0; size <= row.text.size(); ++size)
      EXPECT_FALSE(judge.looks_wrong(row.text.substr(0, size))) << row.text << " cut to " << size;
  }
}

TEST(Decoding, WrongTextsShow) {
  DecodingJudge judge;
  const struct {
    std::string_view what, text;
  } rows[] = {
      {"UTF-8 as Latin-1", "FÃ¼r Elise"},
      {"UTF-8 as Windows-1252", "Donâ€™t stop"},
      {"Cyrillic UTF-8 as Windows-1252", "ÐŸÐ¾Ð´Ð¼Ð¾Ñ"},
      {"Chinese UTF-8 as Windows-1252", "ä½\u00A0å¥½"},
      {"Windows-1251 as Latin-1", "Ïîäìîñêîâíûå âå÷åðà"},
      {"ISO 8859-7 as Latin-1", "Ôï ôñáãïýäé"},
      {"BIG5 as Latin-1", "\u00A4\u00FD\u00A4p\u00A9\u00FA\u0091"},
      {"Latin-1 as BIG5", "Das m鄟chen"},
      {"lost characters", "F\uFFFDr Elise"},
      {"lost words", "?????? ????"},
      {"bytes of no character set", "F\xFCr Elise"},
      {"bytes before the end", "\xE4\xBD and more"},
      {"no character of the set", "\uE5E5\uE5E6"},
  };
  for (const auto& row : rows) EXPECT_TRUE(judge.looks_wrong(row.text)) << row.what;
}

}  // namespace
}  // namespace corvexal::report
