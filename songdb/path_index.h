// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/byte_reader.h"

namespace corvexal {

// Answers which records' shortened paths begin with a given path, without regard to case, at the price of one
// look-up instead of one walk through the store a file. Only paths that share their first folder ("/mnt/")
// with the given ones are kept, and shortened paths that do are rare: the stored path must hold the whole
// given path from its fifth byte on. So the index stays next to empty, except where a share repeats its own
// mount point's name.
class PathIndex {
 public:
  // What an index for `path` is made for: its first folder in lower case, with its slashes; empty when the
  // path has none, and no index can help.
  [[nodiscard]] static std::string root_of(std::string_view path);

  explicit PathIndex(std::string root) : root_(std::move(root)) {}

  // True when the index can answer for this path.
  [[nodiscard]] bool covers(std::string_view path) const { return root_of(path) == root_; }

  // Takes in a record, in place of an earlier one of the same key, and forgets one.
  void put(Bytes key, Bytes record);
  void remove(Bytes key);

  enum class Found { none, one, several };
  struct Answer {
    Found found = Found::none;
    std::uint32_t id = 0;  // the id inside the record, when there is one
  };
  [[nodiscard]] Answer records_below(std::string_view path) const;

 private:
  using Key = std::string;
  std::string root_;
  std::set<std::pair<std::string, Key>> by_path_;  // lower-case shortened paths
  struct Entry {
    std::string path;
    std::uint32_t id;
  };
  std::unordered_map<Key, Entry> by_key_;
};

}  // namespace corvexal
