#include <cstdio>
#include <string_view>

#include "base/code_page.h"
#include "detector/guess.h"

// Prints the character set of a sample of tag texts, as Corvexal asks for it: no line end, and nothing where
// there is nothing to tell.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::puts("Usage: detect_char_encode SAMPLE");
    return 2;
  }
  const std::string_view charset = corvexal::guess_charset(argv[1], corvexal::read_code_page());
  std::fwrite(charset.data(), 1, charset.size(), stdout);
  return 0;
}
