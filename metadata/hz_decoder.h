#pragma once

#include <functional>
#include <string_view>

namespace corvexal {

// Converts one stretch of text from a set that iconv knows; returns 0 or an errno value.
using ConvertStretch = std::function<int(const char* charset, std::string_view bytes)>;

// Decodes HZ (RFC 1843), which not every iconv knows, by handing its stretches in order to `convert`:
// "EUC-CN" inside "~{" and "~}", and "ISO-8859-1" outside, where a byte from 0x80 up passes through as U+0080
// to U+00FF. An incomplete pair or escape at the end is dropped. Returns 0, EILSEQ, or at once what `convert`
// returned.
[[nodiscard]] int decode_hz(std::string_view text, const ConvertStretch& convert);

}  // namespace corvexal
