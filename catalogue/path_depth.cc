#include "catalogue/path_depth.h"

#include "base/config.h"
#include "base/paths.h"

namespace corvexal {

int CopySharePrefix(std::string& prefix, int mode) {
  if (mode == 1) return 1;
  if (global_cdata.sharepath.empty()) return 0;
  prefix = global_cdata.sharepath.substr(0, 3);
  return 1;
}

int depth_below_share(std::string_view path, int mode) {
  std::string prefix;
  CopySharePrefix(prefix, mode);
  return PathDepthOf(path) - PathDepthOf(prefix);
}

}  // namespace corvexal
