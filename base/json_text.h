// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace corvexal {

// The text as a JSON string (RFC 8259), quotes included, in valid UTF-8 whatever the bytes: each byte that is
// no part of a UTF-8 character becomes U+FFFD, the replacement character.
[[nodiscard]] std::string json_text(std::string_view text);

}  // namespace corvexal
