// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace corvexal {

// The character set, or pseudo set, that texts are converted from after this answer of the detector.
[[nodiscard]] std::string charset_of_answer(const std::string& answer);

}  // namespace corvexal
