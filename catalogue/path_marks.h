// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace corvexal {

// A set of paths of which only the hashes are kept, so that it may grow with a library: for what is told to
// people, where a chance of one in 2^64 (2^32 on small machines) to be wrong does no harm.
class PathMarks {
 public:
  void add(std::string_view path) {
    is_sorted_ = false;
    hashes_.push_back(std::hash<std::string_view>()(path));
  }

  // To be asked after the last path was added: after each further one it sorts anew.
  [[nodiscard]] bool holds(std::string_view path) {
    if (!is_sorted_) std::sort(hashes_.begin(), hashes_.end());
    is_sorted_ = true;
    return std::binary_search(hashes_.begin(), hashes_.end(), std::hash<std::string_view>()(path));
  }

 private:
  std::vector<std::size_t> hashes_;
  bool is_sorted_ = true;
};

}  // namespace corvexal
