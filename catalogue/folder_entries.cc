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
  starts_.clear();
  listed_ = 0;
}

bool FolderEntries::read(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> stream(opendir(folder.c_str()));
  if (!stream) return false;
  while (const dirent* entry = next_entry(stream.get())) {
    ++listed_;
    const std::string_view name = entry->d_name;
    if (name.starts_with('.') || names_.size() > std::numeric_limits<std::uint32_t>::max() - NAME_MAX)
      continue;
    starts_.push_back(static_cast<std::uint32_t>(names_.size()));
    names_.append(name).push_back('\0');
  }
  return errno == 0;
}

void FolderEntries::sort() {
  std::sort(starts_.begin(), starts_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return std::string_view(names_.data() + a) < std::string_view(names_.data() + b);
  });
}

}  // namespace corvexal
