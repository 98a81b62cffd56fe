// SPDX-License-Identifier: GPL-3.0-or-later
// Hands every file of the folder given as argument to a fuzz target. Exits 1 when there is none.

#include <cstdio>
#include <iterator>
#include <set>
#include <vector>

#include "fuzz/input.h"

int main(int count, char** arguments) {
  if (count != 2) return 1;
  std::set<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) paths.insert(entry.path());
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    // A block of exactly the input's size, so that a sanitizer sees a read past it.
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    std::fprintf(stderr, "%s (%zu bytes)\n", path.c_str(), bytes.size());
    corvexal::try_input(bytes);
  }
  return paths.empty() ? 1 : 0;
}
