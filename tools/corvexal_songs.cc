// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string>

#include "songdb/song_list.h"
#include "songdb/store.h"
#include "tools/configuration.h"
#include "tools/tool_main.h"

namespace {

constexpr char kUsage[] =
    R"(Usage: corvexal-songs [FILE]
       corvexal-songs --help | --version
Prints the records of a song store, one line of JSON each, in the store's own order. Without FILE it is
the store under the configured mount path. The file is only read. Bytes that are no UTF-8 are printed as
U+FFFD each. The exit status is 0, 1 when the file cannot be read or is damaged, 2 for a wrong call.)";

int print(int argc, char** argv) {
  const std::string argument = argc > 1 ? argv[1] : "";
  if (argc > 2 || argument.starts_with('-')) {
    std::fprintf(stderr, "%s\n", kUsage);
    return 2;
  }
  if (argc == 2) return corvexal::print_song_store(argument);
  const std::string mount_path = corvexal::read_configuration(argv).mntpath;
  if (mount_path.empty()) {
    std::fputs("corvexal-songs: no file given and no mount path configured\n", stderr);
    return 1;
  }
  return corvexal::print_song_store(corvexal::song_store_path(mount_path));
}

}  // namespace

int main(int argc, char** argv) {
  return corvexal::tool_main("corvexal-songs", kUsage, argc, argv, print);
}
