// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "base/code_page.h"

namespace corvexal {

// Guesses the character set of a tag's texts. They stand side by side in `sample`: bytes of an unknown
// encoding, or of Unicode one byte for each character below 256 and two, high byte first, for any other. The
// code page says which set is likelier while the text says little. Returns a name of at most 18 bytes that
// iconv knows; empty when there is nothing to tell (ASCII, which is the same in all of them) or no set gives
// a plausible text.
[[nodiscard]] std::string_view guess_charset(std::string_view sample, CodePage code_page);

}  // namespace corvexal
