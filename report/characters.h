// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace corvexal::report {

// What next_character answers for a byte that is no part of a UTF-8 character; above every code point.
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Takes the first character off a text that is not empty. A byte that is no part of a UTF-8 character
// (RFC 3629) is taken alone.
[[nodiscard]] char32_t next_character(std::string_view& text);

// Characters that are not to reach a terminal or a page as they are: controls (C0, DEL, C1), the marks that
// turn the direction of writing, and separators of lines and paragraphs.
[[nodiscard]] bool is_control(char32_t c);

// True when the text is UTF-8 without such characters, so that it can be shown and typed as it is.
[[nodiscard]] bool is_plain(std::string_view text);

}  // namespace corvexal::report
