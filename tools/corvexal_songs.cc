#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

#include "base/config.h"
#include "songdb/song_list.h"
#include "songdb/store.h"

namespace {

constexpr char kUsage[] =
    R"(Usage: corvexal-songs [FILE]
Prints the records of a song store, one line of JSON each, in the store's own order. Without FILE it is
the store under the configured mount path. The file is only read. Bytes that are no UTF-8 are printed as
U+FFFD each. The exit status is 0, 1 when the file cannot be read or is damaged, 2 for a wrong call.)";

// Standard output is for records only: what there is to say about the configuration goes to standard error.
corvexal::ConfigRecord configuration(char** argv) {
  corvexal::ConfigRecord config;
  const int records = dup(STDOUT_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  corvexal::readconfig(1, {argv, 1}, config);
  std::fflush(stdout);
  dup2(records, STDOUT_FILENO);
  close(records);
  return config;
}

int print(int argc, char** argv) {
  const std::string argument = argc > 1 ? argv[1] : "";
  if (argc == 2 && argument == "--help") {
    std::puts(kUsage);
    return 0;
  }
  if (argc > 2 || argument.starts_with('-')) {
    std::fprintf(stderr, "%s\n", kUsage);
    return 2;
  }
  if (argc == 2) return corvexal::print_song_store(argument);
  const std::string mount_path = configuration(argv).mntpath;
  if (mount_path.empty()) {
    std::fputs("corvexal-songs: no file given and no mount path configured\n", stderr);
    return 1;
  }
  return corvexal::print_song_store(corvexal::song_store_path(mount_path));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return print(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvexal-songs: %s\n", error.what());
    return 1;
  }
}
