#include "base/text.h"

#include <gtest/gtest.h>

#include <climits>

namespace corvexal {
namespace {

TEST(Text, FoldsAsciiLettersOnly) {
  std::string text = "MpEg\xC4\xD6Z";
  StringToLower(text);
  EXPECT_EQ(text, "mpeg\xC4\xD6z");
  EXPECT_TRUE(equal_ignoring_case(".MP3", ".mp3"));
  EXPECT_FALSE(equal_ignoring_case(".mp3", ".mp"));
  EXPECT_FALSE(equal_ignoring_case("@[", "`{"));
  EXPECT_TRUE(starts_with_ignoring_case("/Share/a", "/sHARE"));
  EXPECT_FALSE(starts_with_ignoring_case("/S", "/sHARE"));
}

TEST(DecimalValue, ReadsTheNumberInFront) {
  const struct {
    const char* text;
    int value;
  } rows[] = {{"17", 17}, {" \t-3x", -3}, {"+8)", 8}, {"x17", 0}, {"", 0}, {"99999999999999999999", INT_MAX}};
  for (const auto& row : rows) EXPECT_EQ(decimal_value(row.text), row.value) << row.text;
}

TEST(Utf8, IsCheckedStrictly) {
  const struct {
    std::string_view text;
    bool good;
  } rows[] = {{"", true},
              {{"a\0\x7F", 3}, true},
              {"\xC2\x80\xDF\xBF", true},
              {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", true},
              {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true},
              {"a\x80", false},
              {"\xC1\xBF", false},          // overlong
              {"\xE0\x9F\xBF", false},      // overlong
              {"\xF0\x8F\xBF\xBF", false},  // overlong
              {"\xED\xA0\x80", false},      // a surrogate
              {"\xF4\x90\x80\x80", false},  // behind U+10FFFF
              {"\xF5\x80\x80\x80", false},
              {"\xF8\x88\x80\x80\x80", false},
              {"\xFD\xBF\xBF\xBF\xBF\xBF", false},
              {"\xE4\xB8", false},  // cut
              {"\xE4\xB8x", false}};
  for (const auto& row : rows) EXPECT_EQ(is_utf8(row.text), row.good) << row.text;
}

}  // namespace
}  // namespace corvexal
