#include "catalogue/path_depth.h"

#include "base/paths.h"

namespace corvexal {

int CopySharePrefix(const ConfigRecord& config, std::string& prefix, int mode) {
  if (mode == 1) return 1;
  if (config.sharepath.empty()) return 0;
  prefix = config.sharepath.substr(0, 3);
  return 1;
}

int depth_below_share(const ConfigRecord& config, std::string_view path, int mode) {
  std::string prefix;
  CopySharePrefix(config, prefix, mode);
  return PathDepthOf(path) - PathDepthOf(prefix);
}

}  // namespace corvexal
