// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/shown.h"

#include <array>
#include <cstdio>

#include "report/characters.h"

namespace corvexal::report {
namespace {

// A backslash, a letter and at least this many digits.
std::string escape(char letter, int digits, unsigned number) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "\\%c%0*X", letter, digits, number);
  return text.data();
}

// Calls append(bytes) for each character that may be shown and append(escape) for the others.
template <class Plain, class BadByte>
std::string shown(std::string_view text, Plain plain, BadByte bad_byte) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::string_view before = text;
    const char32_t c = next_character(text);
    const std::string_view bytes = before.substr(0, before.size() - text.size());
    if (c == kNoCharacter)
      bad_byte(result, static_cast<std::uint8_t>(bytes.front()));
    else if (is_control(c))
      result += escape('u', 4, c);
    else
      plain(result, bytes);
  }
  return result;
}

void append_html(std::string& html, std::string_view character) {
  switch (character.front()) {
    case '&':
      html += "&amp;";
      break;
    case '<':
      html += "&lt;";
      break;
    case '>':
      html += "&gt;";
      break;
    case '"':
      html += "&quot;";
      break;
    case '\'':
      html += "&#39;";
      break;
    default:
      html += character;
  }
}

}  // namespace

std::string for_terminal(std::string_view text) {
  return shown(
      text, [](std::string& line, std::string_view character) { line += character; },
      [](std::string& line, std::uint8_t byte) { line += escape('x', 2, byte); });
}

std::string for_html(std::string_view text) {
  return shown(text, append_html, [](std::string& html, std::uint8_t) { html += "\uFFFD"; });
}

std::string with_commas(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
  return text;
}

std::string readable_size(std::uint64_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + " B";
  static constexpr std::array<const char*, 6> kUnits = {"kB", "MB", "GB", "TB", "PB", "EB"};
  std::uint64_t tenth = 100;  // of the unit; whole numbers, since processors round fractions differently
  std::size_t unit = 0;
  const auto tenths = [&] { return bytes / tenth + (bytes % tenth >= tenth / 2 ? 1 : 0); };
  while (tenths() >= 10'000) {
    tenth *= 1000;
    ++unit;
  }
  return std::to_string(tenths() / 10) + "." + std::to_string(tenths() % 10) + " " + kUnits.at(unit);
}

}  // namespace corvexal::report
