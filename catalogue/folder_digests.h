// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace corvexal {

// Digests of folders' entries, by digests of the folders' paths.
class FolderDigests {
 public:
  // A folder's path has its trailing "/". Of a library of more than kMost folders none is kept.
  void add(std::string_view folder, std::uint64_t entries);

  // In place of the digest of a folder that is compared each time, whatever its entries look like.
  static constexpr std::uint64_t kCompareAgain = 0;

  [[nodiscard]] std::optional<std::uint64_t> of(std::string_view folder) const;
  [[nodiscard]] std::size_t size() const { return entries_.size(); }

  // A digest of them all.
  [[nodiscard]] std::uint64_t summary() const;

 private:
  friend class LastSync;
  static constexpr std::size_t kMost = 100'000;  // some 4 MB

  std::unordered_map<std::uint64_t, std::uint64_t> entries_;
  bool is_too_large_ = false;
};

}  // namespace corvexal
