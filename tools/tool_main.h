// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <exception>
#include <string_view>

namespace corvexal {

// The frame of every tool's main(): answers a call whose only argument is --help or --version on standard
// output, and else returns what work(argc, argv) returns. What stops either (a full disk, no memory, no
// working folder) is told on standard error; the result is 1 then.
template <class Work>
[[nodiscard]] int tool_main(const char* program, const char* usage, int argc, char** argv, Work work) {
  const std::string_view only_word = argc == 2 ? argv[1] : "";
  try {
    if (only_word == "--help")
      std::puts(usage);
    else if (only_word == "--version")
      std::printf("%s %s\n", program, CORVEXAL_VERSION);
    else
      return work(argc, argv);
    if (std::fflush(stdout) == 0) return 0;
    std::perror(program);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", program, error.what());
  }
  return 1;
}

}  // namespace corvexal
