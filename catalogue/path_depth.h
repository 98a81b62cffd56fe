// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace corvexal {

// The depth of a path below the share: its number of "/" less that of the share path's first three
// characters.
[[nodiscard]] int depth_below_share(std::string_view share_path, std::string_view path);

}  // namespace corvexal
