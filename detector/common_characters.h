// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

namespace corvexal {

// Two-byte codes, lead byte first, of the characters that names and titles in the script are mostly made of,
// the most common first.
[[nodiscard]] std::span<const std::uint16_t> common_gb();      // GB 2312 as in EUC-CN
[[nodiscard]] std::span<const std::uint16_t> common_big5();    // Big5
[[nodiscard]] std::span<const std::uint16_t> common_jis();     // JIS X 0208 as in EUC-JP; kanji only
[[nodiscard]] std::span<const std::uint16_t> common_korean();  // KS X 1001 as in EUC-KR; Hangul only
[[nodiscard]] std::span<const std::uint16_t> common_hangul();  // the same in Unicode

}  // namespace corvexal
