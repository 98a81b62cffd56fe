// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string_view>

// Sets that the C library does not know, or not as GNU libiconv does, decoded by handing their texts piece by
// piece to iconv. Used only where GNU libiconv is not there.

namespace corvexal {

// Converts a piece of text from a set that iconv knows; returns 0 or an errno value.
using ConvertPiece = std::function<int(const char* charset, std::string_view bytes)>;

// Decodes HZ (RFC 1843) by handing its pieces in order to `convert`: "EUC-CN" inside "~{" and "~}", and
// "ISO-8859-1" outside, where a byte from 0x80 up passes through as U+0080 to U+00FF. An incomplete pair or
// escape at the end is dropped. Returns 0, EILSEQ, or at once what `convert` returned.
[[nodiscard]] int decode_hz(std::string_view text, const ConvertPiece& convert);

// Decodes BIG5, which the C library takes for CP950: eleven punctuation marks are handed to `convert` in
// "UTF-8", the pieces between them in "BIG5". Returns 0 or at once what `convert` returned.
[[nodiscard]] int decode_big5(std::string_view text, const ConvertPiece& convert);

}  // namespace corvexal
