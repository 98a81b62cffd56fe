// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/share.h"

#include "catalogue/media_types.h"

namespace corvexal {
namespace {

constexpr std::size_t kTooLong = 512;  // bytes of a whole path that a scan no longer takes

}  // namespace

Share::Share(std::string_view folder) : folder_(folder) {
  while (folder_.ends_with('/')) folder_.pop_back();
}

bool Share::passes_over(std::string_view path, bool is_folder) const {
  if (path.size() >= kTooLong) return true;
  const std::string_view below = path.substr(folder_.size());
  if (below.find("/.") != std::string_view::npos) return true;
  if (is_folder) return false;
  const auto extension = media_extension(below.substr(below.rfind('/') + 1));
  return !extension || media_kind(*extension) == MediaKind::kOther;
}

}  // namespace corvexal
