// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal {

// The names of one folder's entries in the order of their bytes, held in blocks that never move or grow,
// since a folder may have very many.
class FolderEntries {
 public:
  // Reads the folder; one that cannot be read has no entries, and error() says why.
  explicit FolderEntries(const std::string& folder);

  // The errno of a folder that could not be read, 0 otherwise.
  [[nodiscard]] int error() const { return error_; }

  // How many entries the folder has on disk, "." and ".." and other hidden ones included.
  [[nodiscard]] std::size_t listed() const { return listed_; }

  // The entries whose name does not begin with ".".
  [[nodiscard]] std::size_t size() const { return places_.size(); }
  [[nodiscard]] std::string_view operator[](std::size_t i) const { return name_at(places_[i]); }

 private:
  static constexpr std::uint32_t kBlockSize = 1 << 16;

  bool read(const std::string& folder);
  void add(std::string_view name);
  void sort();
  [[nodiscard]] const char* name_at(std::uint32_t place) const {
    return blocks_[place / kBlockSize].get() + place % kBlockSize;
  }

  std::vector<std::unique_ptr<char[]>> blocks_;  // of kBlockSize bytes, full of names each followed by a NUL
  std::deque<std::uint32_t> places_;             // where each name starts, the blocks laid end to end
  std::uint32_t end_ = 0;                        // of the last name
  std::size_t listed_ = 0;
  int error_ = 0;
};

}  // namespace corvexal
