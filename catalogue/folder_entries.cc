// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_entries.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>

namespace corvexal {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

// Null at the end and on an error, which errno tells: 0 at the end.
const dirent* next_entry(DIR* folder) {
  errno = 0;
  return readdir(folder);
}

}  // namespace

FolderEntries::FolderEntries(const std::string& folder) {
  if (read(folder)) {
    sort();
    return;
  }
  error_ = errno;
  places_.clear();
  listed_ = 0;
}

bool FolderEntries::read(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> stream(opendir(folder.c_str()));
  if (!stream) return false;
  while (const dirent* entry = next_entry(stream.get())) {
    ++listed_;
    if (entry->d_name[0] != '.') add(entry->d_name);
  }
  return errno == 0;
}

// Names beyond 4 GiB are passed over.
void FolderEntries::add(std::string_view name) {
  if (end_ > std::numeric_limits<std::uint32_t>::max() - 2 * kBlockSize) return;
  const auto room = static_cast<std::uint32_t>(blocks_.size() * kBlockSize - end_);
  if (name.size() >= room) {
    end_ += room;
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(kBlockSize));
  }
  char* const place = blocks_.back().get() + end_ % kBlockSize;
  *std::copy(name.begin(), name.end(), place) = '\0';
  places_.push_back(end_);
  end_ += static_cast<std::uint32_t>(name.size() + 1);
}

void FolderEntries::sort() {
  std::sort(places_.begin(), places_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return std::string_view(name_at(a)) < std::string_view(name_at(b));
  });
}

}  // namespace corvexal
