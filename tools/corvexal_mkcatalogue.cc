// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string>

#include "base/config.h"
#include "catalogue/schema.h"
#include "tools/tool_main.h"

namespace {

constexpr char kUsage[] =
    R"(Usage: corvexal-mkcatalogue [MOUNT_PATH]
       corvexal-mkcatalogue --help | --version
Creates the catalogue below the mount path, or what is missing of it, and touches nothing that is there.
Without MOUNT_PATH it is the configured one. The exit status is 0, 1 when the catalogue cannot be made,
2 for a wrong call.)";

int make(int argc, char** argv) {
  if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
    std::puts(kUsage);
    return 2;
  }
  std::string mount_path = argc == 2 ? argv[1] : "";
  if (argc == 1) {
    corvexal::ConfigRecord config;
    corvexal::readconfig(1, {argv, 1}, config);
    mount_path = config.mntpath;
  }
  if (mount_path.empty()) {
    std::fputs("corvexal-mkcatalogue: no mount path given or configured\n", stderr);
    return 1;
  }
  return corvexal::create_catalogue(mount_path) == 0 ? 0 : 1;
}

}  // namespace

// Creates the catalogue of a device, or what is missing of it; touches nothing that exists.
int main(int argc, char** argv) {
  return corvexal::tool_main("corvexal-mkcatalogue", kUsage, argc, argv, make);
}
