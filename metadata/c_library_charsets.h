// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

// What has to be done to the C library's iconv to make it answer as GNU libiconv does: which names it takes,
// and which bytes are no text. Used only where GNU libiconv is not there.

namespace corvexal {

// True for the names of BIG5, which is CP950 to the C library.
[[nodiscard]] bool names_big5(std::string_view charset);

// True for the names of HZ, which the C library does not know.
[[nodiscard]] bool names_hz(std::string_view charset);

// The name by which the C library opens `charset`, or null for a name that is refused. The C library would
// take more than GNU libiconv: it skips characters that it does not know, so that "UTF-8\n" opens, and has
// names of its own.
[[nodiscard]] const char* c_library_name(const char* charset);

// A text without a byte-order mark, and the set that says its byte order.
struct OrderedText {
  const char* charset;
  std::string_view text;
};

// What UTF-16, UTF-32, UCS-2 and UCS-4 stand for: the order that a mark at the start of `text` tells,
// big-endian without one. The C library would take the host's order then, and has no marks in UCS-2 and
// UCS-4. Other sets and their texts come back as they are.
[[nodiscard]] OrderedText in_byte_order(const char* charset, std::string_view text);

// True when `text`, in one of the double-byte sets, has a byte from 0x80 to 0xA0 where a character should
// begin, or a code that only the C library knows. It passes the former on as a control character. Either
// would end a search for the right set too early.
[[nodiscard]] bool is_refused(std::string_view charset, std::string_view text);

}  // namespace corvexal
