// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string_view>

#include "base/code_page.h"
#include "detector/guess.h"
#include "tools/tool_main.h"

namespace {

constexpr char kUsage[] =
    R"(Usage: detect_char_encode SAMPLE
       detect_char_encode --help | --version
Prints the name of the character set that the bytes of SAMPLE are most likely in, without a line end, and
nothing where there is nothing to tell. The exit status is 0, 2 for a wrong call.)";

int print(int argc, char** argv) {
  if (argc != 2) {
    std::puts(kUsage);
    return 2;
  }
  const std::string_view charset = corvexal::guess_charset(argv[1], corvexal::read_code_page());
  std::fwrite(charset.data(), 1, charset.size(), stdout);
  return 0;
}

}  // namespace

// Prints the character set of a sample of tag texts, as Corvexal asks for it: no line end, and nothing where
// there is nothing to tell.
int main(int argc, char** argv) {
  return corvexal::tool_main("detect_char_encode", kUsage, argc, argv, print);
}
