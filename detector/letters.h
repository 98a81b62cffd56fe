// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace corvexal {

// A character as far as the plausibility of a text depends on it.
enum class Case { kNone, kLower, kUpper };

// The lower case of a Latin, Greek or Cyrillic letter; any other character as it is.
[[nodiscard]] char16_t to_lower(char16_t character);

// Whether the character has case. Letters of scripts without it are kNone, as all other characters are.
[[nodiscard]] Case case_of(char16_t character);

// True for letters of the scripts that single-byte sets hold and for marks that stand on them.
[[nodiscard]] bool is_letter(char16_t character);

// A number for the letter's script. Marks that stand on Latin letters are Latin.
[[nodiscard]] constexpr int script_of(char16_t letter) {
  return letter < 0x250 || (letter >= 0x300 && letter <= 0x323) ? 0 : letter >> 8;
}

[[nodiscard]] constexpr bool is_ascii_letter(char16_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace corvexal
