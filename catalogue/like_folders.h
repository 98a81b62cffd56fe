// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal {

// The distinct folders of a class of media, asked whether any of them lies at or below a path: whether SQL's
// "FOLDER like 'PATH%'" selects any, wildcards in the path and the folded case of ASCII letters included. As
// in SQL, texts end at their first NUL.
class FolderSet {
 public:
  explicit FolderSet(std::vector<std::string> folders);

  // A binary search; where that finds nothing, from the first wildcard on one walk through the folders that
  // are left, which reads what neighbours have in common once, at a cost of one word for 64 bytes of the
  // path.
  [[nodiscard]] bool any_below(std::string_view path) const;

 private:
  [[nodiscard]] bool any_begins_with(std::string_view text) const;

  std::vector<std::string> folders_;  // as "like" reads them, sorted
  std::vector<std::size_t> shared_;   // how many bytes each has in common with the one before it
};

}  // namespace corvexal
