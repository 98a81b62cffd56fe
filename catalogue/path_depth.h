#pragma once

#include <string>
#include <string_view>

#include "base/config.h"

namespace corvexal {

// Puts the first three characters of the share path into `prefix`. Mode 1 leaves `prefix` alone and returns
// 1; another mode returns 1, or 0 with `prefix` as it was when no share path is configured.
int CopySharePrefix(const ConfigRecord& config, std::string& prefix, int mode);

// The depth of a path below the share: its number of "/" less that of the share path's first three
// characters. With mode 1 the share path is not looked at and counts as empty (no "/").
[[nodiscard]] int depth_below_share(const ConfigRecord& config, std::string_view path, int mode);

}  // namespace corvexal
