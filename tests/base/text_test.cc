// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/text.h"

#include <gtest/gtest.h>

#include <climits>

#include "base/json_text.h"

namespace corvexal {
namespace {

TEST(Text, FoldsAsciiLettersOnlyAndReadsTheNumberInFront) {
  std::string text = "AMpEg\xC4@[Z";
  StringToLower(text);
  EXPECT_EQ(text, "ampeg\xC4@[z");
  EXPECT_FALSE(equal_ignoring_case(".mp3", ".MP"));
  EXPECT_TRUE(starts_with_ignoring_case("/Share/a", "/sHARE"));
  EXPECT_TRUE(starts_with_ignoring_case("/Share", "/sHARE"));
  EXPECT_FALSE(starts_with_ignoring_case("/S", "/sHARE"));
  EXPECT_EQ(decimal_value(" \t-13x"), -13);
  EXPECT_EQ(decimal_value("x17"), 0);
  EXPECT_EQ(decimal_value("99999999999999999999"), INT_MAX);
  EXPECT_EQ(decimal_value("-2147483649"), INT_MIN);
}

TEST(Utf8, IsCheckedStrictly) {
  for (const char* text : {"", "\x7F\xC2\x80\xDF\xBF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
                           "\xF0\x90\x80\x80\xF1\x80\x80\x80\xF3\xBF\xBF\xBF\xF4\x8F\xBF\xBF"})
    EXPECT_TRUE(is_utf8(text)) << text;
  // Continuations alone, overlong forms, a surrogate, what lies above U+10FFFF, and cut characters.
  for (const char* text :
       {"a\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xFD\xBF\xBF\xBF\xBF\xBF", "\xE4\xB8", "\xE4\xB8x"})
    EXPECT_FALSE(is_utf8(text)) << text;
}

TEST(Utf8, IsCutBetweenCharacters) {
  const std::string text = "a\u00C0\u0800\U00010000";  // the first character of each length
  const std::size_t lengths[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
  for (std::size_t most = 0; most < std::size(lengths); ++most)
    EXPECT_EQ(utf8_prefix(text, most), text.substr(0, lengths[most])) << most;
  EXPECT_EQ(utf8_prefix("\u0800", 2), "");
  EXPECT_EQ(utf8_prefix("\x80\x80\x80\x80\x80\x80", 5).size(), 5U);
}

TEST(JsonText, IsValidWhateverTheBytes) {
  EXPECT_EQ(json_text({"\"\\/\0\n\x1F\x7F", 7}), "\"\\\"\\\\/\\u0000\\u000a\\u001f\x7F\"");
  EXPECT_EQ(json_text("ß東😀Gr\xFC\xDF\xE6\x9Dx\xE6\x9D"), "\"ß東😀Gr\uFFFD\uFFFD\uFFFD\uFFFDx\uFFFD\uFFFD\"");
}

}  // namespace
}  // namespace corvexal
