// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/path_depth.h"

#include "base/paths.h"

namespace corvexal {

int depth_below_share(std::string_view share_path, std::string_view path) {
  constexpr std::size_t kComparedCharacters = 3;
  return PathDepthOf(path) - PathDepthOf(share_path.substr(0, kComparedCharacters));
}

}  // namespace corvexal
