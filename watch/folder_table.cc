// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/folder_table.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace corvexal {
namespace {

constexpr std::size_t kBlock = 1 << 15;
constexpr std::size_t kDeepest = 256;  // more than a path of 511 bytes can have folders

}  // namespace

void FolderTable::put(int watch, int parent, std::string_view name) {
  const auto at = folders_.begin() + (place(watch) - folders_.cbegin());
  if (at == folders_.end() || at->watch != watch) {
    folders_.insert(at, {watch, parent, keep(name)});
    return;
  }
  if (at->parent == kRemoved)
    --removed_;
  else
    drop_name(*at);
  at->parent = parent;
  at->name = keep(name);
}

void FolderTable::remove(int watch) {
  if (!contains(watch)) return;
  constexpr std::size_t kFew = 1024;
  Folder& folder = folders_[static_cast<std::size_t>(place(watch) - folders_.cbegin())];
  drop_name(folder);
  folder.parent = kRemoved;
  if (++removed_ > kFew && removed_ > folders_.size() / 2) {
    std::erase_if(folders_, [](const Folder& each) { return each.parent == kRemoved; });
    removed_ = 0;
  }
  if (unused_ > kBlock && unused_ > end_ / 2) pack_names();
}

bool FolderTable::is_at(int watch, int parent, std::string_view name) const {
  const Folder* folder = find(watch);
  return folder != nullptr && folder->parent == parent && name == name_of(*folder);
}

std::optional<std::string> FolderTable::path(int watch) const {
  std::vector<const char*> names;
  while (watch != 0) {
    const Folder* folder = find(watch);
    if (folder == nullptr || names.size() == kDeepest) return std::nullopt;
    names.push_back(name_of(*folder));
    watch = folder->parent;
  }
  std::string path;
  for (; !names.empty(); names.pop_back()) path.append(path.empty() ? "" : "/").append(names.back());
  return path;
}

int FolderTable::first_from(int watch) const {
  auto at = place(watch);
  while (at != folders_.end() && at->parent == kRemoved) ++at;
  return at == folders_.end() ? 0 : at->watch;
}

std::vector<int> FolderTable::orphans() const {
  std::vector<int> orphans;
  for (const Folder& folder : folders_)
    if (folder.parent != kRemoved && !path(folder.watch)) orphans.push_back(folder.watch);
  return orphans;
}

std::size_t FolderTable::bytes() const {
  return folders_.size() * sizeof(Folder) + names_.size() * kBlock;
}

FolderTable::Folders::const_iterator FolderTable::place(int watch) const {
  return std::lower_bound(folders_.begin(), folders_.end(), watch,
                          [](const Folder& folder, int number) { return folder.watch < number; });
}

const FolderTable::Folder* FolderTable::find(int watch) const {
  const auto at = place(watch);
  return at == folders_.end() || at->watch != watch || at->parent == kRemoved ? nullptr : &*at;
}

const char* FolderTable::name_of(const Folder& folder) const {
  return names_[folder.name / kBlock].get() + folder.name % kBlock;
}

std::uint32_t FolderTable::keep(std::string_view name) {
  if (names_.size() * kBlock - end_ <= name.size()) {
    end_ = names_.size() * kBlock;
    names_.push_back(std::make_unique<char[]>(kBlock));
  }
  const std::size_t place = end_;
  std::copy(name.begin(), name.end(), names_.back().get() + place % kBlock);
  end_ += name.size() + 1;
  return static_cast<std::uint32_t>(place);
}

void FolderTable::drop_name(const Folder& folder) {
  unused_ += std::strlen(name_of(folder)) + 1;
}

void FolderTable::pack_names() {
  const auto old_names = std::exchange(names_, {});
  end_ = unused_ = 0;
  for (Folder& folder : folders_)
    if (folder.parent != kRemoved)
      folder.name = keep(old_names[folder.name / kBlock].get() + folder.name % kBlock);
}

}  // namespace corvexal
