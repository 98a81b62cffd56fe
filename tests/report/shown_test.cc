// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/shown.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "base/text.h"
#include "report/characters.h"
#include "report/mend.h"
#include "tests/support/test_files.h"

namespace corvexal::report {
namespace {

TEST(Shown, WritesOutWhatCouldAct) {
  const struct {
    std::string_view text, terminal, html;
  } rows[] = {
      {"plain 王 é", "plain 王 é", "plain 王 é"},
      {"<b a=\"1\" c='2'>&", "<b a=\"1\" c='2'>&", "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;"},
      {"a\nb\x1B[31m\x7F", "a\\u000Ab\\u001B[31m\\u007F", "a\\u000Ab\\u001B[31m\\u007F"},
      {"\u202Egpj.mp3\u2069", "\\u202Egpj.mp3\\u2069", "\\u202Egpj.mp3\\u2069"},
      {"\u009B2J", "\\u009B2J", "\\u009B2J"},
      {"\xA4\xA4.mp3\xE4", "\\xA4\\xA4.mp3\\xE4", "\uFFFD\uFFFD.mp3\uFFFD"},
      {std::string_view("\0", 1), "\\u0000", "\\u0000"},
      {"\U0001F3B5", "\U0001F3B5", "\U0001F3B5"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(for_terminal(row.text), row.terminal);
    EXPECT_EQ(for_html(row.text), row.html);
  }
}

std::string random_text(std::mt19937& random, bool with_nul) {
  static constexpr std::string_view kPieces[] = {"<", ">",  "&",    "\"",     "'",    "\\", "$(", "`",
                                                 ";", "\n", " ",    "\u202E", "\xFF", "é",  "王", "-",
                                                 "!", "a",  "\x1B", "]]>",    "\t",   "*",  "~"};
  std::string text;
  for (auto left = random() % 12; left > 0; --left)
    if (random() % 3 == 0)
      text += static_cast<char>(with_nul ? random() : random() % 255 + 1);
    else
      text += kPieces[random() % std::size(kPieces)];
  return text;
}

TEST(Shown, NothingOfAHostileTextIsMarkup) {
  std::mt19937 random(1);
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = random_text(random, true), html = for_html(text);
    ASSERT_TRUE(is_utf8(html)) << ::testing::PrintToString(text);
    ASSERT_EQ(html.find_first_of("<>\"'\n"), std::string::npos) << ::testing::PrintToString(text);
    ASSERT_TRUE(is_plain(for_terminal(text))) << ::testing::PrintToString(text);
  }
}

TEST(Shown, NumbersAndSizes) {
  EXPECT_EQ(with_commas(0) + " " + with_commas(999) + " " + with_commas(1000) + " " + with_commas(1234567),
            "0 999 1,000 1,234,567");
  const struct {
    std::uint64_t bytes;
    const char* text;
  } rows[] = {{999, "999 B"},      {1000, "1.0 kB"},          {999'949, "999.9 kB"},
              {999'950, "1.0 MB"}, {4'200'000'000, "4.2 GB"}, {18'446'744'073'709'551'615U, "18.4 EB"}};
  for (const auto& row : rows) EXPECT_EQ(readable_size(row.bytes), row.text);
}

TEST(ShellWord, ReachesTheProgramAsItIs) {
  std::mt19937 random(2);
  const testing::TestFolder folder;
  std::string script = "printf '%s\\0'", expected;
  for (int i = 0; i < 500; ++i) {
    const std::string text = random_text(random, false);
    script += ' ' + shell_word(text);
    expected.append(text).push_back('\0');
  }
  const std::string command =
      "sh " + shell_word(folder.write("script", script + '\n')) + " >" + folder.path() + "/out";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(testing::read_file(folder.path() + "/out"), expected);
}

}  // namespace
}  // namespace corvexal::report
