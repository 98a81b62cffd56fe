// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// TagLib drops what is no Unicode. A text of unknown encoding therefore passes through it in disguise: a mark
// in front, and each byte as the Unicode character of the same number.

namespace corvexal {

// The most that is kept of one text: what no title or comment of a song needs more than.
inline constexpr std::size_t kLongestTagText = 4096;  // bytes

// The text as UTF-8 for TagLib, up to its first zero byte: as it is when it is UTF-8 (ASCII alone where
// `claims_utf8` is false) without an escape character, else disguised. An incomplete character at the end is
// dropped when the text was cut at kLongestTagText.
[[nodiscard]] std::string utf8_or_disguised(std::string_view bytes, bool claims_utf8);

// The bytes of a disguised text; absent for any other.
[[nodiscard]] std::optional<std::string> undisguised(std::string_view utf8);

}  // namespace corvexal
