// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace corvexal {

// The folder that is watched, and what of it a scan looks at.
class Share {
 public:
  // `folder` is an absolute path; "/" at its end does not count.
  explicit Share(std::string_view folder);

  // The path, without a "/" at its end.
  [[nodiscard]] const std::string& folder() const { return folder_; }

  // True when a scan passes over the entry below the share: when a part of its path is hidden, when the path
  // is too long, and when it is a file whose extension the catalogue does not know.
  [[nodiscard]] bool passes_over(std::string_view path, bool is_folder) const;

 private:
  std::string folder_;
};

}  // namespace corvexal
