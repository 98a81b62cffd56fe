// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <string_view>

namespace corvexal {

// Answers a call whose only argument is --help or --version on standard output. False for any other call.
[[nodiscard]] inline bool answer_common_switch(int argc, char** argv, const char* program,
                                               const char* usage) {
  const std::string_view only_word = argc == 2 ? argv[1] : "";
  if (only_word == "--help")
    std::puts(usage);
  else if (only_word == "--version")
    std::printf("%s %s\n", program, CORVEXAL_VERSION);
  else
    return false;
  return true;
}

}  // namespace corvexal
