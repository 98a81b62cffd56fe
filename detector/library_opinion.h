// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace corvexal {

// What libuchardet takes the sample's character set for, by the name that our tables have for it or for a
// larger set that holds it; empty for none of ours.
[[nodiscard]] std::string_view library_opinion(std::string_view sample);

}  // namespace corvexal
