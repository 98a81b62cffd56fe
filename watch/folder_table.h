// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal {

// The watched folders, each under the number of its watch (1 and more) with its parent's number and its own
// name: 12 bytes and the name. So the path of a folder stays right when one above it is renamed.
class FolderTable {
 public:
  // Enters the folder, or gives it its new place when the number is known. The top folder has parent 0 and
  // its whole path for a name.
  void put(int watch, int parent, std::string_view name);

  void remove(int watch);

  [[nodiscard]] bool contains(int watch) const { return find(watch) != nullptr; }
  [[nodiscard]] bool is_at(int watch, int parent, std::string_view name) const;

  // The folder's path; nothing for an unknown number and for a folder that hangs below none.
  [[nodiscard]] std::optional<std::string> path(int watch) const;

  // The first number in the table from `watch` on; 0 when there is none.
  [[nodiscard]] int first_from(int watch) const;

  // The highest number that was in the table lately; 0 when there was none.
  [[nodiscard]] int last() const { return folders_.empty() ? 0 : folders_.back().watch; }

  // The folders that hang below none, because one above them was removed.
  [[nodiscard]] std::vector<int> orphans() const;

  [[nodiscard]] std::size_t size() const { return folders_.size() - removed_; }

  // The memory that the table takes.
  [[nodiscard]] std::size_t bytes() const;

 private:
  struct Folder {
    int watch, parent;
    std::uint32_t name;  // where it begins in names_
  };
  static constexpr int kRemoved = -1;  // for a parent: room that is cleared away by and by
  using Folders = std::deque<Folder>;

  [[nodiscard]] Folders::const_iterator place(int watch) const;
  [[nodiscard]] const Folder* find(int watch) const;
  [[nodiscard]] const char* name_of(const Folder& folder) const;
  std::uint32_t keep(std::string_view name);
  void drop_name(const Folder& folder);
  void pack_names();

  Folders folders_;  // by number; grows without being copied
  std::size_t removed_ = 0;
  std::vector<std::unique_ptr<char[]>> names_;  // blocks of names, each name ended by a NUL
  std::size_t end_ = 0;                         // of the last name
  std::size_t unused_ = 0;                      // bytes of names that are in no more use
};

}  // namespace corvexal
