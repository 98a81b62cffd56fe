// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal {

// The names of one folder's entries in the order of their bytes, held in one block, since a folder may have
// very many.
class FolderEntries {
 public:
  // Reads the folder; one that cannot be read has no entries, and error() says why.
  explicit FolderEntries(const std::string& folder);

  // The errno of a folder that could not be read, 0 otherwise.
  [[nodiscard]] int error() const { return error_; }

  // How many entries the folder has on disk, "." and ".." and other hidden ones included.
  [[nodiscard]] std::size_t listed() const { return listed_; }

  // The entries whose name does not begin with ".".
  [[nodiscard]] std::size_t size() const { return starts_.size(); }
  [[nodiscard]] std::string_view operator[](std::size_t i) const { return names_.data() + starts_[i]; }

 private:
  bool read(const std::string& folder);
  void sort();

  std::string names_;  // each followed by a NUL
  std::vector<std::uint32_t> starts_;
  std::size_t listed_ = 0;
  int error_ = 0;
};

}  // namespace corvexal
