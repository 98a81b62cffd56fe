#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_set>

namespace corvexal {

// A set of paths of which only the hashes are kept, so that it may grow with a library: for what is told to
// people, where a chance of one in 2^64 (2^32 on small machines) to be wrong does no harm.
class PathMarks {
 public:
  void add(std::string_view path) { hashes_.insert(std::hash<std::string_view>()(path)); }
  [[nodiscard]] bool holds(std::string_view path) const {
    return hashes_.contains(std::hash<std::string_view>()(path));
  }

 private:
  std::unordered_set<std::size_t> hashes_;
};

}  // namespace corvexal
