#include "catalogue/folder_entries.h"

#include <dirent.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace corvexal {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

}  // namespace

FolderEntries::FolderEntries(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> stream(opendir(folder.c_str()));
  if (!stream) return;
  while (const dirent* entry = readdir(stream.get())) {
    ++listed_;
    const std::string_view name = entry->d_name;
    if (name.starts_with('.') || names_.size() > std::numeric_limits<std::uint32_t>::max() - NAME_MAX)
      continue;
    starts_.push_back(static_cast<std::uint32_t>(names_.size()));
    names_.append(name).push_back('\0');
  }
  std::sort(starts_.begin(), starts_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return std::string_view(names_.data() + a) < std::string_view(names_.data() + b);
  });
}

}  // namespace corvexal
