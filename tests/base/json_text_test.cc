#include "base/json_text.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(JsonText, IsValidWhateverTheBytes) {
  const struct {
    std::string_view text, json;
  } rows[] = {
      {"plain", "plain"},
      {"", ""},
      {"\"\\/", "\\\"\\\\/"},
      {{"\0\n\x1F\x7F", 4}, "\\u0000\\u000a\\u001f\x7F"},
      {"ß東😀\u2028", "ß東😀\u2028"},
      {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},                    // the last character of all
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},            // behind it
      {"\xED\x9F\xBF\xED\xA0\x80", "\uD7FF\uFFFD\uFFFD\uFFFD"},    // a surrogate
      {"\xC0\xAF\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},  // overlong
      {"Gr\xFC\xDF", "Gr\uFFFD\uFFFD"},                            // Latin-1
      {"\xE6\x9D", "\uFFFD\uFFFD"},                                // cut
      {"\xE6\x9D\"", "\uFFFD\uFFFD\\\""},
      {"\x80\xBF", "\uFFFD\uFFFD"},
  };
  for (const auto& row : rows) EXPECT_EQ(json_text(row.text), '"' + std::string(row.json) + '"') << row.text;
}

}  // namespace
}  // namespace corvexal
