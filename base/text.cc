// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace corvexal {
namespace {

char ascii_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

void StringToLower(std::string& text) {
  std::transform(text.begin(), text.end(), text.begin(), ascii_lower);
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ascii_lower(x) == ascii_lower(y); });
}

bool starts_with_ignoring_case(std::string_view text, std::string_view prefix) {
  return equal_ignoring_case(text.substr(0, prefix.size()), prefix);
}

int decimal_value(std::string_view text) {
  const long value = std::strtol(std::string(text).c_str(), nullptr, 10);
  return static_cast<int>(
      std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::string hex_digits(char byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto value = static_cast<std::uint8_t>(byte);
  return {kDigits[value / kDigits.size()], kDigits[value % kDigits.size()]};
}

std::size_t utf8_character_length(std::string_view text) {
  // The first bytes of each form, and the range that the second byte is in; the others are 0x80 to 0xBF.
  // Overlong forms, surrogates and what lies above U+10FFFF fall between the rows.
  struct Form {
    std::uint8_t first, last, length, second_from, second_to;
  };
  static constexpr Form kForms[] = {
      {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
      {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
      {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
  };
  if (text.empty()) return 0;
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  for (const Form& form : kForms) {
    if (byte(0) < form.first || byte(0) > form.last) continue;
    if (text.size() < form.length) return 0;
    if (form.length > 1 && (byte(1) < form.second_from || byte(1) > form.second_to)) return 0;
    for (std::size_t i = 2; i < form.length; ++i)
      if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
    return form.length;
  }
  return 0;
}

std::string_view utf8_prefix(std::string_view text, std::size_t most) {
  const std::string_view prefix = text.substr(0, most);
  for (std::size_t back = 1; back <= prefix.size(); ++back) {
    const auto byte = static_cast<std::uint8_t>(prefix[prefix.size() - back]);
    if ((byte & 0xC0) == 0x80) continue;  // inside a character
    const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return length > back ? prefix.substr(0, prefix.size() - back) : prefix;
  }
  return prefix;
}

bool is_ascii(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8_character_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace corvexal
