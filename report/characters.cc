// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/characters.h"

#include "base/text.h"

namespace corvexal::report {

char32_t next_character(std::string_view& text) {
  const std::size_t length = utf8_character_length(text);
  const std::string_view bytes = text.substr(0, length == 0 ? 1 : length);
  text.remove_prefix(bytes.size());
  if (length == 0) return kNoCharacter;
  const auto byte = [bytes](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
  if (length == 1) return byte(0);
  char32_t c = byte(0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) c = c << 6 | (byte(i) & 0x3FU);
  return c;
}

bool is_control(char32_t c) {
  const auto in = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
  return c < 0x20 || in(0x7F, 0x9F) || c == 0x061C || in(0x200E, 0x200F) || in(0x2028, 0x202E) ||
         in(0x2066, 0x2069) || c == 0xFEFF;
}

bool is_plain(std::string_view text) {
  while (!text.empty())
    if (const char32_t c = next_character(text); c == kNoCharacter || is_control(c)) return false;
  return true;
}

}  // namespace corvexal::report
