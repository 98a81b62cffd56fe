// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/like_folders.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// A path and, each on a line of its own, the folders that it is asked about: the answer is SQLite's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const auto take_line = [&rest] {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    std::string line(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
  };
  const std::string path = take_line();
  std::vector<std::string> folders;
  while (!rest.empty() && folders.size() < 32) folders.push_back(take_line());
  // SQLite takes exponential time for many of them.
  if (std::ranges::count(path, '%') > 6) return 0;

  const std::string pattern = path.substr(0, path.find('\0')) + '%';
  const bool expected = std::ranges::any_of(folders, [&pattern](const std::string& folder) {
    return sqlite3_strlike(pattern.c_str(), folder.c_str(), 0) == 0;
  });
  if (corvexal::FolderSet(folders).any_below(path) != expected) std::abort();
  return 0;
}
