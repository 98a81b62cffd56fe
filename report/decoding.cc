// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/decoding.h"

#include <array>
#include <cstdint>
#include <string>

#include "base/text.h"
#include "report/characters.h"

namespace corvexal::report {
namespace {

bool is_between(char32_t c, char32_t first, char32_t last) {
  return c >= first && c <= last;
}
bool is_lower_ascii(char32_t c) {
  return is_between(c, 'a', 'z');
}
bool is_ideograph(char32_t c) {
  return is_between(c, 0x3400, 0x4DBF) || is_between(c, 0x4E00, 0x9FFF);
}
bool is_accented_western(char32_t c) {
  return is_between(c, 0xC0, 0xFF) && c != 0xD7 && c != 0xF7;
}

// A private-use character stands where a character set had none for the bytes.
bool never_in_a_text(char32_t c) {
  return c == 0xFFFD || is_between(c, 0x80, 0x9F) || is_between(c, 0xE000, 0xF8FF) ||
         is_between(c, 0xFFFE, 0xFFFF) || c >= 0xF0000;
}

// The byte that Windows-1252 (and below 0xA0 where it differs, Latin-1) has for a character above ASCII; 0
// for none.
std::uint8_t western_byte(char32_t c) {
  // 0x80 to 0x9F; zeros are not assigned.
  static constexpr std::array<char16_t, 32> kWindows = {
      0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
  if (c < 0x80) return 0;
  if (c >= 0xA0 && c <= 0xFF) return static_cast<std::uint8_t>(c);
  for (std::size_t i = 0; i < kWindows.size(); ++i)
    if (kWindows[i] != 0 && kWindows[i] == c) return static_cast<std::uint8_t>(0x80 + i);
  return 0;
}

// Finds UTF-8 that was read as Western text: a lead byte and all its continuation bytes, each shown as a
// Western character. One in a text may be chance ("é…»"), but for those that letters and quotation marks
// give.
class WesternUtf8 {
 public:
  // True when the characters up to this one show it.
  bool shows_at(char32_t c) {
    const std::uint8_t byte = western_byte(c);
    if (missing_ != 0 && is_between(byte, 0x80, 0xBF)) {
      if (lead_ == 0xE2 && byte == 0x80) certain_ = true;
      return --missing_ == 0 && (certain_ || ++sequences_ >= 2);
    }
    lead_ = byte;
    certain_ = byte == 0xC3;
    missing_ = is_between(byte, 0xC2, 0xDF)   ? 1
               : is_between(byte, 0xE0, 0xEF) ? 2
               : is_between(byte, 0xF0, 0xF4) ? 3
                                              : 0;
    return false;
  }

 private:
  int missing_ = 0, sequences_ = 0;
  std::uint8_t lead_ = 0;
  bool certain_ = false;
};

// The beginning of a UTF-8 character whose end is missing.
bool is_cut_character(std::string_view text) {
  for (const std::string_view end : {"\x80", "\x80\x80", "\x80\x80\x80", "\xA0\x80", "\x90\x80\x80"})
    if (utf8_character_length(std::string(text) += end) == text.size() + end.size()) return true;
  return false;
}

}  // namespace

bool DecodingJudge::looks_wrong(std::string_view text) {
  WesternUtf8 western_utf8;
  std::size_t characters = 0, question_marks = 0, accented = 0;
  char32_t before_last = 0, last = 0;
  std::string_view last_bytes;
  while (!text.empty()) {
    if (text.size() < 4 && is_cut_character(text)) break;
    const std::string_view rest = text;
    const char32_t c = next_character(text);
    if (c == kNoCharacter || never_in_a_text(c) || western_utf8.shows_at(c)) return true;
    accented = is_accented_western(c) ? accented + 1 : 0;
    if (accented >= 4) return true;
    // As of "Mädchen" read as BIG5.
    if (is_lower_ascii(before_last) && is_ideograph(last) && is_lower_ascii(c) && is_rare(last_bytes))
      return true;
    before_last = last;
    last = c;
    last_bytes = rest.substr(0, rest.size() - text.size());
    ++characters;
    if (c == '?') ++question_marks;
  }
  return question_marks >= 4 && 2 * question_marks > characters;
}

// True for an ideograph that is neither among the frequent ones of BIG5 nor among those of GB 2312, which
// come first in both.
bool DecodingJudge::is_rare(std::string_view ideograph) {
  const auto is_frequent = [&](const char* charset, std::uint8_t first_rare) {
    std::string bytes;
    return converters_.convert(charset, "UTF-8", ideograph, &bytes) == 0 && !bytes.empty() &&
           static_cast<std::uint8_t>(bytes.front()) < first_rare;
  };
  return !is_frequent("BIG5", 0xC9) && !is_frequent("EUC-CN", 0xD8);
}

}  // namespace corvexal::report
