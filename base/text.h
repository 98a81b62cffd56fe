// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvexal {

// Lower-cases every byte that is an ASCII letter; other bytes stay, so texts in any encoding survive.
void StringToLower(std::string& text);

// True when the texts are equal without regard to the case of ASCII letters.
[[nodiscard]] bool equal_ignoring_case(std::string_view a, std::string_view b);

// True when `text` begins with `prefix`, without regard to the case of ASCII letters.
[[nodiscard]] bool starts_with_ignoring_case(std::string_view text, std::string_view prefix);

// The decimal number at the start of `text`, as atoi reads it: leading white space and one sign are taken,
// what is no number gives 0, and a number outside the range of int gives the nearest bound.
[[nodiscard]] int decimal_value(std::string_view text);

// The two hexadecimal digits of a byte, in lower case.
[[nodiscard]] std::string hex_digits(char byte);

// The length in bytes, 1 to 4, of the UTF-8 character (RFC 3629) at the start of `text`; 0 when there is
// none. Surrogates, overlong forms and what lies above U+10FFFF are no characters.
[[nodiscard]] std::size_t utf8_character_length(std::string_view text);

// The first bytes of a UTF-8 text, at most `most`, without a character that its end has cut in two.
[[nodiscard]] std::string_view utf8_prefix(std::string_view text, std::size_t most);

// True when every byte is below 0x80.
[[nodiscard]] bool is_ascii(std::string_view text);

// True when the text is UTF-8 characters and nothing else.
[[nodiscard]] bool is_utf8(std::string_view text);

}  // namespace corvexal
