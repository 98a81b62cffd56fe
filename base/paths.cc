// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/paths.h"

#include <algorithm>

namespace corvexal {

std::string_view GetFileExtension(std::string_view path, std::string_view otherwise) {
  const std::size_t at = path.find_last_of("./\\");
  if (at == std::string_view::npos || path[at] != '.') return otherwise;
  return path.substr(at);
}

void GetParentDirectory(std::string_view path, std::string& folder) {
  std::string_view body = path;
  if (body.size() > 1 && body.back() == '/') body.remove_suffix(1);
  const std::size_t at = body.rfind('/');
  if (at != std::string_view::npos) folder.assign(path.substr(0, at + 1));
}

std::string_view GetFileName(std::string_view path) {
  const std::size_t at = path.rfind('/');
  if (at != std::string_view::npos) return path.substr(at + 1);
  return path.substr(std::min<std::size_t>(path.size(), 1));
}

std::string FileBaseName(std::string_view path, std::string_view separator, bool keep_extension) {
  if (path.ends_with(separator)) path.remove_suffix(separator.size());
  if (const std::size_t at = path.rfind(separator); at != std::string_view::npos && !separator.empty())
    path.remove_prefix(at + separator.size());
  if (keep_extension) return std::string(path);
  return std::string(path.substr(0, path.rfind('.')));
}

int PathDepthOf(std::string_view text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '/')) - 2;
}

}  // namespace corvexal
