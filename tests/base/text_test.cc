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

}  // namespace
}  // namespace corvexal
