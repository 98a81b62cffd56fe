// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/charset.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

// What comes of a conversion to UTF-8: the text, or errno's name. The input lies in a block of exactly its
// size.
std::string converted(Converters& converters, const std::string& fromcode, const std::string& text) {
  const std::vector<char> input(text.begin(), text.end());
  const std::string_view view(input.data(), input.size());
  Text result = "as it was";
  const int status = iconv_string(converters, "UTF-8", fromcode.c_str(), view, &result);
  const int error = errno;
  EXPECT_EQ(iconv_string(converters, "UTF-8", fromcode.c_str(), view, nullptr), status)
      << fromcode << ": " << text;
  if (status == 0) return result.value();
  EXPECT_EQ(result, "as it was") << fromcode << ": " << text;
  return error == EILSEQ ? "EILSEQ" : error == EINVAL ? "EINVAL" : std::to_string(error);
}

TEST(IconvString, ConvertsTextsAsItsTableSays) {
  Converters converters;
  for (int round = 0; round < 2; ++round) {  // the second time with open converters
    for (const testing::Row& row : testing::table("charset")) {
      if (row.size() > 3 && row[3] != (kGnuLibiconv ? "GNU" : "C")) continue;
      EXPECT_EQ(converted(converters, row[0], row[1]), row[2]) << row[0] << ": " << row[1];
    }
  }
  std::string gbk, utf8;
  while (gbk.size() < 15000) {
    gbk += "\xD6\xD0x";
    utf8 += "中x";
  }
  EXPECT_EQ(converted(converters, "GBK", gbk), utf8);
  EXPECT_EQ(converted(converters, "GBK", gbk + "\xFF\xFF"), "EILSEQ");
}

TEST(ConvertToUtf8, GivesTheTextUpToItsTerminator) {
  Converters converters;
  EXPECT_EQ(convert_to_utf8(converters, {"\xA4\xA4\0b", 4}, "BIG5").text, "中");
  EXPECT_EQ(convert_to_utf8(converters, "a~{", "HZ").text, "a") << "the terminator is half a pair there";
  EXPECT_EQ(convert_to_utf8(converters, "\xFF\xFF", "BIG5").text, std::nullopt);
}

TEST(CodePageType, ChoosesByTheFirstWordFound) {
  std::filesystem::create_directories("./etc");
  NameCharset names;
  EXPECT_EQ(names.charset(), "autodetect_utf8");
  for (const testing::Row& row : testing::table("code_pages")) {
    std::ofstream("./etc/codepage", std::ios::binary) << row[0];
    const int type = names.CodePageType();
    EXPECT_EQ(testing::row_of(row[0], type, names.charset()), row);
  }
  std::filesystem::remove("./etc/codepage");
  EXPECT_EQ(names.CodePageType(), 0);
  EXPECT_EQ(names.charset(), "autodetect_kr") << "as it was";
}

}  // namespace
}  // namespace corvexal
