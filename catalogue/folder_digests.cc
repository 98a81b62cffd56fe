// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_digests.h"

#include "base/digest.h"

namespace corvexal {
namespace {

std::uint64_t key_of(std::string_view folder) {
  return Digest().add(folder).value();
}

}  // namespace

void FolderDigests::add(std::string_view folder, std::uint64_t entries) {
  const std::uint64_t key = key_of(folder);
  is_too_large_ = is_too_large_ || (entries_.size() >= kMost && !entries_.contains(key));
  if (is_too_large_) return entries_.clear();
  entries_[key] = entries;
}

std::optional<std::uint64_t> FolderDigests::of(std::string_view folder) const {
  const auto at = entries_.find(key_of(folder));
  return at == entries_.end() ? std::nullopt : std::optional(at->second);
}

std::uint64_t FolderDigests::summary() const {
  std::uint64_t sum = 0;  // whatever their order
  for (const auto& [folder, entries] : entries_) sum += Digest().add(folder).add(entries).value();
  return sum;
}

}  // namespace corvexal
