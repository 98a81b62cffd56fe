// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace corvexal {

// What the device's code page file says of the texts on its disk. The numbers are the device's own classes.
enum class CodePage { kNoFile = 0, kBig5 = 1, kGb = 2, kJapanese = 3, kKorean = 4, kOther = 5 };

// Reads the file: "cp950", "cp936", "cp932" or "cp949", looked for in this order in the first 23 bytes of its
// first line. kNoFile when it cannot be opened.
[[nodiscard]] CodePage read_code_page();

}  // namespace corvexal
