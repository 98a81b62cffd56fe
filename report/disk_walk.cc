// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/disk_walk.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace corvexal::report {
namespace {

constexpr std::size_t kFullPathLimit = 512;

}  // namespace

bool DiskWalk::next() {
  while (true) {
    while (entries_ && at_ < entries_->size())
      if (take((*entries_)[at_++])) return true;
    if (entries_) close_folder();
    if (!open_next_folder()) return false;
  }
}

bool DiskWalk::open_next_folder() {
  if (pending_.empty()) return false;
  folder_ = std::move(pending_.back());
  pending_.pop_back();
  entries_.emplace(folder_);
  at_ = 0;
  if (entries_->listed() == 0) ++unreadable_;  // a folder lists at least itself
  return true;
}

void DiskWalk::close_folder() {
  entries_.reset();
  std::sort(sub_folders_.begin(), sub_folders_.end(), std::greater<>());
  std::move(sub_folders_.begin(), sub_folders_.end(), std::back_inserter(pending_));
  sub_folders_.clear();
}

bool DiskWalk::take(std::string_view name) {
  if (folder_.size() + name.size() >= kFullPathLimit) return false;
  const std::string path = folder_ + std::string(name);
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return false;
    std::fprintf(stderr, "corvexal-report: cannot look at %s: %s\n", path.c_str(), std::strerror(errno));
    ++unreadable_;
    return false;
  }
  if (S_ISDIR(status.st_mode)) sub_folders_.push_back(path + '/');
  if (!S_ISREG(status.st_mode)) return false;
  const auto extension = media_extension(name);
  if (!extension) return false;
  const MediaKind kind = media_kind(*extension);
  if (kind == MediaKind::kOther) return false;
  file_ = {.folder = folder_,
           .name = name,
           .kind = kind,
           .size = static_cast<std::uint64_t>(status.st_size),
           .modified = status.st_mtime,
           .id = static_cast<std::uint32_t>(status.st_ino)};
  return true;
}

}  // namespace corvexal::report
