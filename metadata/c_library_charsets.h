#pragma once

#include <string_view>

// What has to be done to the C library's iconv to make it answer as GNU libiconv does: which names it takes,
// and which bytes are no text. Used only where GNU libiconv is not there.

namespace corvexal {

// True for the names of HZ, which the C library does not know.
[[nodiscard]] bool names_hz(std::string_view charset);

// The name by which the C library opens `charset`, or null for a name that is refused. The C library would
// take more than GNU libiconv: it skips characters that it does not know, so that "UTF-8\n" opens, and has
// names of its own.
[[nodiscard]] const char* c_library_name(const char* charset);

// True when `text`, in one of the double-byte sets, has a byte from 0x80 to 0xA0 where a character should
// begin. The C library passes it on as a control character, which would end a search for the right set too
// early.
[[nodiscard]] bool has_stray_control(std::string_view charset, std::string_view text);

}  // namespace corvexal
