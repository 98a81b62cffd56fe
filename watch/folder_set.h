// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace corvexal {

// How much of a folder has to be brought in line: its own entries, or everything below it too.
enum class Extent { kEntries, kTree };

// The path of the folder that holds `path`, without a trailing "/"; empty when there is no "/".
[[nodiscard]] std::string_view folder_of(std::string_view path);

// True when `path` is `folder` or lies below it.
[[nodiscard]] bool lies_in(std::string_view path, std::string_view folder);

// `path` with its beginning `old_folder` replaced by `new_folder`. REQUIRES: lies_in(path, old_folder).
[[nodiscard]] std::string moved_path(std::string_view path, std::string_view old_folder,
                                     std::string_view new_folder);

// The deepest folder that holds both, or is one of them.
[[nodiscard]] std::string_view common_folder(std::string_view a, std::string_view b);

// The folders that wait to be brought in line. A whole tree stands for every folder below it, and when there
// are too many folders one tree stands for them all, so that a set stays small whatever happens on the disk.
class FolderSet {
 public:
  static constexpr std::size_t kMost = 128;
  using Folders = std::map<std::string, Extent>;

  // A set of folders at or below `top`.
  explicit FolderSet(std::string top) : top_(std::move(top)) {}

  void add(std::string_view folder, Extent extent);

  // Drops the folder and those below it: they are gone.
  void remove(std::string_view folder);

  // Gives the folder and those below it their new paths.
  void rename(std::string_view old_folder, std::string_view new_folder);

  [[nodiscard]] bool empty() const { return folders_.empty(); }

  // True when a tree in the set holds `folder`.
  [[nodiscard]] bool has_tree_of(std::string_view folder) const;

  // Hands the folders over, by path; the set is empty then.
  [[nodiscard]] Folders take() { return std::exchange(folders_, {}); }

 private:
  Folders cut_below(std::string_view folder);

  std::string top_;
  Folders folders_;
};

}  // namespace corvexal
