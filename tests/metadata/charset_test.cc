#include "metadata/charset.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "metadata/c_library_charsets.h"
#include "metadata/hz_decoder.h"

namespace corvexal {
namespace {

using namespace std::string_literals;

// The text with its terminator, as callers pass it, each input in a block of exactly its size.
std::string terminated(const std::string& text) {
  std::string input = text + '\0';
  input.shrink_to_fit();
  return input;
}

// What comes of a conversion: "0 " and the result, or errno's name.
std::string outcome(const char* tocode, const char* fromcode, const std::string& input) {
  Text result = "as it was";
  errno = 0;
  if (iconv_string(tocode, fromcode, input, &result) == 0) return "0 " + result.value();
  EXPECT_EQ(result, "as it was") << fromcode;
  if (errno == EILSEQ) return "EILSEQ";
  return errno == EINVAL ? "EINVAL" : std::to_string(errno);
}

TEST(IconvString, ConvertsTheWholeInputWithItsTerminator) {
  const struct {
    const char* fromcode;
    std::string input;
    std::string outcome;
  } rows[] = {{"UTF-8", "\0"s, "0 \0"s},
              {"UTF-8", "", "0 "},
              {"UTF-8", "\xE4\xB8\xAD\0"s, "0 \xE4\xB8\xAD\0"s},
              {"CP1251", "\xCF\xE5\xF1\xED\xFF\0"s, "0 Песня\0"s},
              {"CP932", "\x93\xFA\x96{\0"s, "0 日本\0"s},
              {"UTF-16", "\xFF\xFE-N\0\0"s, "0 中\0"s},
              {"UTF-16", "\xFE\xFFN-\0\0"s, "0 中\0"s},  // the mark of the text before does not count
              {"ISO-2022-JP-1", "\x1B$B?7\x1B(B\0"s, "0 新\0"s},
              {"UTF-8", "ab\xFF\0"s, "EILSEQ"},
              {"no such set", "a\0"s, "EINVAL"},
              {"autodetect_JP", "a\0"s, "EINVAL"},
              {"AUTODETECT_UTF8", "a\0"s, "EINVAL"}};
  for (const auto& row : rows)
    EXPECT_EQ(outcome("UTF-8", row.fromcode, row.input), row.outcome) << row.fromcode << ": " << row.input;
  EXPECT_EQ(outcome("no such set", "autodetect_utf8", "a\0"s), "EINVAL");
  EXPECT_EQ(outcome("no such set", "HZ", ""), "EINVAL");
}

TEST(IconvString, DropsAnIncompleteCharacterAtTheEnd) {
  const struct {
    const char* fromcode;
    std::string input;
  } rows[] = {{"BIG5", "a\xA4"},  {"EUC-JP", "a\x8F\xB0"}, {"GBK", "a\x81"},
              {"CP949", "a\xB0"}, {"UTF-8", "a\xE4"},      {"HZ", "a~"},
              {"HZ", "a~{!"},     {"HZ", "a~{~"}};
  for (const auto& row : rows)
    EXPECT_EQ(outcome("UTF-8", row.fromcode, row.input), "0 a") << row.fromcode << " " << row.input;
}

TEST(IconvString, WritesNoCodesAboveTheLastCharacter) {
  const struct {
    const char* fromcode;
    std::string good, bad;
  } rows[] = {{"UTF-8", "\xF4\x8F\xBF\xBF", "\xF4\x90\x80\x80"},
              {"utf-8", "", "\xF5\x80\x80\x80"},
              {"UTF-8", "", "\xF8\x88\x80\x80\x80"},
              {"UTF-8", "", "\xFD\xBF\xBF\xBF\xBF\xBF"},
              {"UTF-32", "\0\x10\xFF\xFF"s, "\0\x11\0\0"s},
              {"UCS-4", "\0\x10\xFF\xFF"s, "\0\x11\0\0"s},
              {"UCS-4BE", "\0\x10\xFF\xFF"s, "\x7F\xFF\xFF\xFF"},
              {"UCS-4LE", "\xFF\xFF\x10\0"s, "\0\0\xD8\0"s},
              {"CSUCS4", "\0\0\0a"s, "\0\x11\0\0"s}};
  for (const auto& row : rows) {
    EXPECT_EQ(outcome("UTF-8", row.fromcode, row.good)[0], '0') << row.fromcode;
    EXPECT_EQ(outcome("UTF-8", row.fromcode, row.bad), "EILSEQ") << row.fromcode << " " << row.bad;
    EXPECT_EQ(iconv_string("UTF-8", row.fromcode, row.bad, nullptr), -1) << row.fromcode << " " << row.bad;
  }
}

TEST(IconvString, ReadsTheByteOrderOffTheMark) {
  const struct {
    std::vector<const char*> charsets;
    std::string big, little;  // the text, without a mark
    std::string big_mark, little_mark;
  } rows[] = {
      {{"UTF-16", "utf-16", "UCS-2", "ISO-10646-UCS-2", "CSUNICODE"}, "N-", "-N", "\xFE\xFF", "\xFF\xFE"},
      {{"UTF-32", "UCS-4", "ISO-10646-UCS-4", "CSUCS4"},
       "\0\0N-"s,
       "-N\0\0"s,
       "\0\0\xFE\xFF"s,
       "\xFF\xFE\0\0"s}};
  for (const auto& row : rows)
    for (const char* charset : row.charsets) {
      EXPECT_EQ(outcome("UTF-8", charset, row.little_mark + row.little), "0 中") << charset;
      EXPECT_EQ(outcome("UTF-8", charset, row.big_mark + row.big), "0 中") << charset;
      EXPECT_EQ(outcome("UTF-8", charset, row.big), "0 中") << charset;  // the mark before does not count
      EXPECT_EQ(outcome("UTF-8", charset, ""), "0 ") << charset;
      EXPECT_EQ(outcome("UTF-8", charset, row.big_mark.substr(0, 1)), "0 ") << charset;
    }
  EXPECT_EQ(outcome("UTF-8", "UTF-16LE", "-N"), "0 中");
}

TEST(IconvString, OutlivesMoreSetsThanAreKeptOpen) {
  EXPECT_EQ(outcome("UTF-8", "CP1251", "\xCF"), "0 П");
  for (unsigned upper = 0; upper < 128; ++upper) {  // a name of its own for each choice of capitals
    std::string charset = "windows-1252";
    for (unsigned i = 0; i < 7; ++i)
      if ((upper >> i & 1U) != 0) charset[i] = static_cast<char>(std::toupper(charset[i]));
    EXPECT_EQ(outcome("UTF-8", charset.c_str(), "\x80"), "0 €") << charset;
  }
  EXPECT_EQ(outcome("UTF-8", "CP1251", "\xCF"), "0 П");
}

TEST(IconvString, StartsEveryTextInTheInitialState) {
  EXPECT_EQ(outcome("UTF-8", "ISO-2022-JP-2", "\x1B$B?7"), "0 新");
  EXPECT_EQ(outcome("UTF-8", "ISO-2022-JP-2", "?7"), "0 ?7");
  EXPECT_EQ(outcome("UTF-8", "BIG5", "\xFF\xFF"), "EILSEQ");
  EXPECT_EQ(outcome("UTF-8", "BIG5", "\xA4"), "0 ");
  EXPECT_EQ(outcome("UTF-8", "BIG5", "\xA4\xA4"), "0 中");
  EXPECT_EQ(outcome("ISO-2022-JP", "UTF-8", "新"), "0 \x1B$B?7\x1B(B");
}

TEST(IconvString, TakesTextsOfAnyLength) {
  std::string utf8;
  std::string gbk;
  for (int i = 0; i < 5000; ++i) {
    utf8 += "中x";
    gbk += "\xD6\xD0x";
  }
  EXPECT_EQ(outcome("UTF-8", "GBK", terminated(gbk)), "0 " + terminated(utf8));
  EXPECT_EQ(outcome("UTF-8", "GBK", gbk + "\xFF\xFF"), "EILSEQ");
}

TEST(IconvString, OnlyTestsWithoutAResult) {
  EXPECT_EQ(iconv_string("UTF-8", "BIG5", "\xA4\xA4\0"s, nullptr), 0);
  EXPECT_EQ(iconv_string("UTF-8", "autodetect_utf8", "~x\xFF\0"s, nullptr), -1);
}

TEST(AutodetectLists, TakeTheFirstSetThatFits) {
  const struct {
    const char* fromcode;
    std::string text;
    std::string outcome;
  } rows[] = {
      {"autodetect_utf8", "中 é", "0 中 é"},
      {"autodetect_utf8", "\xA4\xA4\xA4\xE5", "0 中文"},       // BIG5
      {"autodetect_utf8", "\xD6\xD0\xB9\xFA", "0 笢弊"},       // BIG5 comes before EUC-CN
      {"autodetect_GB", "\xD6\xD0\xB9\xFA", "0 中国"},         // EUC-CN
      {"autodetect_GB", "\x8D\xA1", "0 崱"},                   // GBK
      {"autodetect_jp", "\x93\xFA\x96{\x8C\xEA", "0 日本語"},  // CP932
      {"autodetect_jp", "\xC6\xFC\xCB\xDC", "0 日本"},         // EUC-JP comes before CP932
      {"autodetect_kr", "\xC7\xD1\xB1\xDB", "0 한글"},         // CP949
      {"autodetect_BIG5", "plain", "0 plain"},
      // HZ lets every byte through outside its GB mode, so it catches what no other set before it takes.
      {"autodetect_utf8", "Caf\xE9.mp3", "0 Café.mp3"},
      {"autodetect_BIG5", "Caf\xE9.mp3", "0 Café.mp3"},
      {"autodetect_GB", "\xFF~~", "0 ÿ~"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(outcome("UTF-8", row.fromcode, terminated(row.text)), terminated(row.outcome)) << row.outcome;
}

TEST(AutodetectLists, EndWhereALaterListIsNamedWithCapitals) {
  // No set of the BIG5 and GB lists takes this text: the two have each other tried once, then "autodetect_JP"
  // ends them. In a list of its own that name is just as unknown.
  for (const char* fromcode :
       {"autodetect_utf8", "autodetect_jp", "autodetect_kr", "autodetect_BIG5", "autodetect_GB"})
    EXPECT_EQ(outcome("UTF-8", fromcode, "~x\xFF\0"s), "EINVAL") << fromcode;
}

TEST(ConvertToUtf8, GivesTheTextUpToItsTerminator) {
  EXPECT_EQ(convert_to_utf8("\xA4\xA4", "BIG5").text, "中");
  EXPECT_EQ(convert_to_utf8("", "autodetect_utf8").text, "");
  EXPECT_EQ(convert_to_utf8("a\0b"s, "UTF-8").text, "a");
  EXPECT_EQ(convert_to_utf8("a~{", "HZ").text, "a");  // the terminator is half a pair there, and dropped
  const Converted failed = convert_to_utf8("\xFF\xFF", "BIG5");
  EXPECT_EQ(failed.status, -1);
  EXPECT_EQ(failed.text, std::nullopt);
}

TEST(Hz, IsDecodedByItsEscapes) {
  const struct {
    std::string text;
    std::string outcome;
  } rows[] = {{"a~{VP9z~}b", "0 a中国b"}, {"a~~b~\nc", "0 a~bc"},  {"\x80\xFF", "0 \xC2\x80ÿ"},
              {"~{VP~}~{9z~}", "0 中国"}, {"~{!~~}", "0 〓"},  // the second byte of a pair may be a "~"
              {"~a", "EILSEQ"},           {"~}", "EILSEQ"},        {"~{~{", "EILSEQ"},
              {"~{~~", "EILSEQ"},         {"~{V\xD0~}", "EILSEQ"}, {"~{VP\n\n", "EILSEQ"},
              {"~{)z~}", "EILSEQ"}};
  for (const auto& row : rows) {
    EXPECT_EQ(outcome("UTF-8", "HZ", row.text), row.outcome) << row.text;
    EXPECT_EQ(outcome("UTF-8", "hz-gb-2312", row.text), row.outcome) << row.text;
    std::string decoded;
    const int error = decode_hz(row.text, [&](const char* charset, std::string_view bytes) {
      Text piece;
      if (iconv_string("UTF-8", charset, bytes, &piece) != 0) return errno;
      decoded += piece.value();
      return 0;
    });
    EXPECT_EQ(error == 0 ? "0 " + decoded : "EILSEQ", row.outcome) << row.text;
  }
}

TEST(CLibraryCharsets, TakeNoStrayControlsForText) {
  const struct {
    const char* fromcode;
    std::string good;
    std::string bad;
  } rows[] = {{"EUC-JP", "\x8E\xB1\xB0\xA1\x8F\xB0\xA1", "\xB0\xA1\x80"},
              {"EUC-JP", "a", "\xA0"},
              {"csEUCPkdFmtJapanese", "\x8E\xB1", "\x80"},
              {"EUC-KR", "\xB0\xA1", "\xB0\xA1\x8E"},
              {"csEUCKR", "\xB0\xA1", "a\x80"},
              {"BIG5", "\xA4\xA4", "\xA4\xA4\x80"},
              {"big5-hkscs", "\xA4\xA4", "a\x80"},
              {"CP950", "\xA4\xA4", "\x80"},
              {"GBK", "\x81\x80", "\x81\x80\x80"}};
  for (const auto& row : rows) {
    EXPECT_FALSE(has_stray_control(row.fromcode, terminated(row.good))) << row.fromcode << row.good;
    EXPECT_EQ(outcome("UTF-8", row.fromcode, terminated(row.good))[0], '0') << row.fromcode << row.good;
    EXPECT_TRUE(has_stray_control(row.fromcode, terminated(row.bad))) << row.fromcode << row.bad;
    EXPECT_EQ(outcome("UTF-8", row.fromcode, terminated(row.bad)), "EILSEQ") << row.fromcode << row.bad;
  }
  EXPECT_FALSE(has_stray_control("CP1252", "\x80"));
}

TEST(CLibraryCharsets, HaveNoNamesOfTheirOwn) {
  for (const char* name : {"gb18030\n", "?", "UTF-8 ", "UTF8", "utf16", "iso88591", "ISO885915", "IBM855",
                           "ujis", "eucJP-ms", "GB13000", "OSF00030010"}) {
    EXPECT_EQ(c_library_name(name), nullptr) << name;
    EXPECT_EQ(outcome("UTF-8", name, "a\0"s), "EINVAL") << name;
  }
  for (const char* name : {"UTF-8//IGNORE", "UTF-8//TRANSLIT"})
    EXPECT_EQ(c_library_name(name), nullptr) << name;
  for (const char* name :
       {"gb18030", "utf-8", "ISO_8859-1:1987", "ISO8859-15", "Shift_JIS", "IBM866", "TIS-620"})
    EXPECT_EQ(outcome("UTF-8", name, "a\0"s), "0 a\0"s) << name;
}

TEST(CodePageType, ChoosesByTheFirstWordFound) {
  const struct {
    std::string content;
    int type;
    const char* charset;
  } rows[] = {{"cp950\n", 1, "autodetect_BIG5"},
              {"oem cp936", 2, "autodetect_GB"},
              {"cp932\ncp950\n", 3, "autodetect_jp"},
              {"cp949\n", 4, "autodetect_kr"},
              {"cp932 cp950\n", 1, "autodetect_BIG5"},
              {"CP950\n", 5, "autodetect_utf8"},
              {"", 5, "autodetect_utf8"},
              {"a\0cp950"s, 5, "autodetect_utf8"},
              {"123456789012345678cp950", 1, "autodetect_BIG5"},
              {"1234567890123456789cp950", 5, "autodetect_utf8"}};  // ends behind the 23rd character
  std::filesystem::create_directories("./etc");
  for (const auto& row : rows) {
    std::ofstream("./etc/codepage", std::ios::binary) << row.content;
    from_codepage.clear();
    EXPECT_EQ(CodePageType(), row.type) << row.content;
    EXPECT_EQ(from_codepage, row.charset) << row.content;
  }
  std::filesystem::remove("./etc/codepage");
  from_codepage = "as it was";
  EXPECT_EQ(CodePageType(), 0);
  EXPECT_EQ(from_codepage, "as it was");
}

TEST(Ucs4, GivesBackTheBytesOfTheFile) {
  EXPECT_EQ(ucs4_to_raw_bytes(U"a\u00E9\u4E2D\U0001F600b"), "a\xE9N-b");
  EXPECT_EQ(ucs4_to_raw_bytes(U""), "");
  const struct {
    char32_t character;
    bool cjk;
  } rows[] = {{0x4DFF, false}, {0x4E00, true}, {0x9FBF, true}, {0x9FC0, false}, {U'a', false}};
  for (const auto& row : rows) {
    EXPECT_EQ(ucs4_has_cjk(std::u32string{U'x', row.character}), row.cjk) << std::uint32_t{row.character};
    EXPECT_EQ(ucs4_has_cjk(std::u32string{row.character, U'x'}), row.cjk) << std::uint32_t{row.character};
  }
  EXPECT_FALSE(ucs4_has_cjk(U""));
}

}  // namespace
}  // namespace corvexal
