// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/like_folders.h"

#include <sqlite3.h>

#include <algorithm>
#include <sstream>

#include "fuzz/input.h"

// Each line is a path that is asked about the few lines after it as folders: the answers are SQLite's.
void corvexal::try_input(Bytes input) {
  std::vector<std::string> lines;
  std::istringstream stream{std::string(as_text(input))};
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  for (auto path = lines.begin(); path != lines.end(); ++path) {
    // SQLite takes exponential time for many of them.
    if (std::ranges::count(*path, '%') > 6) continue;
    const auto last = path + 1 + std::min<std::ptrdiff_t>(12, lines.end() - path - 1);
    const std::vector<std::string> folders(path + 1, last);
    const std::string pattern = path->c_str() + std::string("%");
    const bool expected = std::ranges::any_of(folders, [&pattern](const std::string& folder) {
      return sqlite3_strlike(pattern.c_str(), folder.c_str(), 0) == 0;
    });
    require(FolderSet(folders).any_below(*path) == expected);
  }
}
