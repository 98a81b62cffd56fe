// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// How texts and numbers are shown to people. File names and tags come from anybody: what could act on a
// terminal or a page is written out.

namespace corvexal::report {

// The text for a terminal: bytes that are no UTF-8 as "\xE4", controls and marks of direction as "\u202E".
[[nodiscard]] std::string for_terminal(std::string_view text);

// The text for HTML, in an element or a quoted attribute: valid UTF-8, the five characters that mean
// something there as references, bytes that are no UTF-8 as U+FFFD, and controls and marks of direction as
// "\u202E".
[[nodiscard]] std::string for_html(std::string_view text);

// "1,234,567"
[[nodiscard]] std::string with_commas(std::uint64_t number);

// A number of bytes in powers of ten: "999 B", "4.2 MB".
[[nodiscard]] std::string readable_size(std::uint64_t bytes);

}  // namespace corvexal::report
