#include "metadata/charset.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace corvexal {
namespace {

using namespace std::string_literals;

// What comes of a conversion to UTF-8: the text in front of a "|", or errno's name. The input lies in a block
// of exactly its size.
std::string converted(const char* fromcode, const std::string& text) {
  const std::vector<char> input(text.begin(), text.end());
  Text result = "as it was";
  errno = 0;
  const int status = iconv_string("UTF-8", fromcode, {input.data(), input.size()}, &result);
  const int error = errno;
  EXPECT_EQ(iconv_string("UTF-8", fromcode, {input.data(), input.size()}, nullptr), status) << fromcode;
  if (status == 0) return result.value() + "|";
  EXPECT_EQ(result, "as it was") << fromcode;
  if (error == EILSEQ) return "EILSEQ";
  return error == EINVAL ? "EINVAL" : std::to_string(error);
}

struct Row {
  const char* fromcode;
  std::string input, converted;
};

void expect(const std::vector<Row>& rows) {
  for (const Row& row : rows)
    EXPECT_EQ(converted(row.fromcode, row.input), row.converted) << row.fromcode << ": " << row.input;
}

TEST(IconvString, ConvertsWholeTexts) {
  expect({{"UTF-8", "中\0"s, "中\0|"s},
          {"CP1251", "\xCF\xE5\xF1\xED\xFF", "Песня|"},
          {"ISO-2022-JP-1", "\x1B$B?7", "新|"},
          {"ISO-2022-JP-1", "?7", "?7|"},  // every text begins in the initial state
          {"UTF-8", "ab\xFF", "EILSEQ"},
          {"UTF-8", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF|"},
          {"UTF-8", "\xF4\x90\x80\x80", "EILSEQ"},
          {"UCS-4BE", "\0\x11\0\0"s, "EILSEQ"},
          // A character cut by the end is dropped.
          {"BIG5", "a\xA4", "a|"},
          {"EUC-JP", "a\x8F\xB0", "a|"},
          {"UTF-8", "a\xE4", "a|"},
          {"HZ", "a~{!", "a|"},
          {"HZ", "a~{~", "a|"}});
  std::string gbk, utf8;
  for (int i = 0; i < 5000; ++i) gbk += "\xD6\xD0x", utf8 += "中x";
  expect({{"GBK", gbk, utf8 + "|"}, {"GBK", gbk + "\xFF\xFF", "EILSEQ"}});
}

TEST(IconvString, ReadsTheByteOrderOffTheMark) {
  for (const char* charset : {"UTF-16", "UCS-2", "ISO-10646-UCS-2"})
    expect({{charset, "\xFF\xFE-N", "中|"},
            {charset, "\xFE\xFFN-", "中|"},
            {charset, "N-", "中|"},
            {charset, "\xFE", "|"}});
  for (const char* charset : {"utf-32", "UCS-4", "CSUCS4"})
    expect({{charset, "\xFF\xFE\0\0-N\0\0"s, "中|"},
            {charset, "\0\0\xFE\xFF\0\0N-"s, "中|"},
            {charset, "\0\0N-"s, "中|"}});
}

// The set's names and texts as GNU libiconv has them, whatever library there is.
TEST(IconvString, KnowsTheSetsOfGnuLibiconv) {
  for (const char* name : {"gb18030\n", "?", "UTF-8 ", "UTF8", "utf16", "iso88591", "UTF-8//IGNORE",
                           "eucJP-ms", "OSF00030010", "autodetect_JP", "AUTODETECT_UTF8"})
    expect({{name, "a", "EINVAL"}});
  for (const char* name : {"utf-8", "ISO_8859-1:1987", "ISO8859-15", "Shift_JIS", "IBM866", "hz-gb-2312"})
    expect({{name, "a", "a|"}});
  expect({{"EUC-JP", "\x8E\xB1\x8F\xB0\xA1", "ｱ丂|"},
          {"EUC-JP", "\xB0\xA1\x80", "EILSEQ"},
          {"csEUCKR", "a\x8E", "EILSEQ"},
          {"BIG5", "\xA4\xA4\x80", "EILSEQ"},
          {"GBK", "\x81\x80\x80", "EILSEQ"},
          {"CP1252", "\x80", "€|"},
          {"HZ", "a~{VP9z~}b", "a中国b|"},
          {"HZ", "a~~b~\nc", "a~bc|"},
          {"HZ", "\x80\xFF", "\xC2\x80ÿ|"},
          {"HZ", "~{!~~}", "〓|"},
          {"HZ", "~a", "EILSEQ"},
          {"HZ", "~}", "EILSEQ"},
          {"HZ", "~{~{", "EILSEQ"},
          {"HZ", "~{V\xD0~}", "EILSEQ"},
          {"HZ", "~{VP\n\n", "EILSEQ"}});
}

TEST(IconvString, OutlivesMoreSetsThanAreKeptOpen) {
  for (unsigned upper = 0; upper < 128; ++upper) {  // a name of its own for each choice of capitals
    std::string charset = "windows-1252";
    for (unsigned i = 0; i < 7; ++i)
      if ((upper >> i & 1U) != 0) charset[i] = static_cast<char>(std::toupper(charset[i]));
    expect({{charset.c_str(), "\x80", "€|"}, {"CP1251", "\xCF", "П|"}});
  }
}

TEST(AutodetectLists, TakeTheFirstSetThatFits) {
  expect({{"autodetect_utf8", "中 é", "中 é|"},
          {"autodetect_utf8", "\xA4\xA4\xA4\xE5", "中文|"},       // BIG5
          {"autodetect_utf8", "\xD6\xD0\xB9\xFA", "笢弊|"},       // BIG5 comes before EUC-CN
          {"autodetect_GB", "\xD6\xD0\xB9\xFA", "中国|"},         // EUC-CN
          {"autodetect_GB", "\x8D\xA1", "崱|"},                   // GBK
          {"autodetect_jp", "\x93\xFA\x96{\x8C\xEA", "日本語|"},  // CP932
          {"autodetect_jp", "\xC6\xFC\xCB\xDC", "日本|"},         // EUC-JP comes before CP932
          {"autodetect_kr", "\xC7\xD1\xB1\xDB", "한글|"},         // CP949
          // HZ lets every byte through outside its GB mode, so it catches what no other set before it takes.
          {"autodetect_utf8", "Caf\xE9.mp3", "Café.mp3|"},
          {"autodetect_BIG5", "Caf\xE9.mp3", "Café.mp3|"}});
  // What no set of the BIG5 and GB lists takes ends where they name "autodetect_JP".
  for (const char* fromcode :
       {"autodetect_utf8", "autodetect_jp", "autodetect_kr", "autodetect_BIG5", "autodetect_GB"})
    expect({{fromcode, "~x\xFF", "EINVAL"}});
}

TEST(ConvertToUtf8, GivesTheTextUpToItsTerminator) {
  EXPECT_EQ(convert_to_utf8("\xA4\xA4\0b"s, "BIG5").text, "中");
  EXPECT_EQ(convert_to_utf8("a~{", "HZ").text, "a");  // the terminator is half a pair there, and dropped
  const Converted failed = convert_to_utf8("\xFF\xFF", "BIG5");
  EXPECT_EQ(failed.status, -1);
  EXPECT_EQ(failed.text, std::nullopt);
}

TEST(CodePageType, ChoosesByTheFirstWordFound) {
  const struct {
    std::string content;
    int type;
    const char* charset;
  } rows[] = {{"oem cp936", 2, "autodetect_GB"},
              {"cp932\ncp950\n", 3, "autodetect_jp"},
              {"cp949\n", 4, "autodetect_kr"},
              {"cp932 cp950\n", 1, "autodetect_BIG5"},
              {"CP950\n", 5, "autodetect_utf8"},
              {"a\0cp950"s, 5, "autodetect_utf8"},
              {"123456789012345678cp950", 1, "autodetect_BIG5"},
              {"1234567890123456789cp950", 5, "autodetect_utf8"}};
  std::filesystem::create_directories("./etc");
  for (const auto& row : rows) {
    std::ofstream("./etc/codepage", std::ios::binary) << row.content;
    EXPECT_EQ(CodePageType(), row.type) << row.content;
    EXPECT_EQ(from_codepage, row.charset) << row.content;
  }
  std::filesystem::remove("./etc/codepage");
  EXPECT_EQ(CodePageType(), 0);
  EXPECT_EQ(from_codepage, "autodetect_utf8") << "as it was";
}

TEST(Ucs4, GivesBackTheBytesOfTheFile) {
  EXPECT_EQ(ucs4_to_raw_bytes(U"a\u00E9\u4E2D\U0001F600b"), "a\xE9N-b");
  EXPECT_TRUE(ucs4_has_cjk(U"x\u4E00") && ucs4_has_cjk(U"\u9FBFx"));
  EXPECT_FALSE(ucs4_has_cjk(U"x\u4DFF\u9FC0"));
}

}  // namespace
}  // namespace corvexal
