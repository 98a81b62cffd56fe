// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/folder_set.h"

namespace corvexal {

std::string_view folder_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

bool lies_in(std::string_view path, std::string_view folder) {
  return folder.empty() ||
         (path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/'));
}

std::string moved_path(std::string_view path, std::string_view old_folder, std::string_view new_folder) {
  return std::string(new_folder).append(path.substr(old_folder.size()));
}

std::string_view common_folder(std::string_view a, std::string_view b) {
  while (!lies_in(b, a)) a = folder_of(a);
  return a;
}

bool FolderSet::has_tree_of(std::string_view folder) const {
  for (; folder.size() >= top_.size(); folder = folder_of(folder)) {
    const auto found = folders_.find(std::string(folder));
    if (found != folders_.end() && found->second == Extent::kTree) return true;
  }
  return false;
}

void FolderSet::add(std::string_view folder, Extent extent) {
  if (has_tree_of(folder)) return;
  if (extent == Extent::kTree) remove(folder);
  folders_.insert_or_assign(std::string(folder), extent);
  if (folders_.size() <= kMost) return;
  // What the first and the last path have in common all of them have.
  const std::string common(common_folder(folders_.begin()->first, folders_.rbegin()->first));
  folders_ = {{common, Extent::kTree}};
}

void FolderSet::remove(std::string_view folder) {
  (void)cut_below(folder);
}

void FolderSet::rename(std::string_view old_folder, std::string_view new_folder) {
  for (const auto& [folder, extent] : cut_below(old_folder))
    add(moved_path(folder, old_folder, new_folder), extent);
}

// Takes the folder and those below it out of the set. Between "FOLDER" and "FOLDER/" the order of paths has
// room for others, so they are two ranges.
FolderSet::Folders FolderSet::cut_below(std::string_view folder) {
  constexpr char kAfterSlash = '/' + 1;
  const std::string own(folder);
  Folders below;
  const auto end = folders_.lower_bound(own + kAfterSlash);
  for (auto at = folders_.lower_bound(own + '/'); at != end;) below.insert(folders_.extract(at++));
  below.insert(folders_.extract(own));
  return below;
}

}  // namespace corvexal
