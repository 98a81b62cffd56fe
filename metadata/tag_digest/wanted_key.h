// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace corvexal {

// Which fields of a tag are kept: the first one under each wanted key, compared without regard to case.
class WantedKeys {
 public:
  explicit WantedKeys(std::span<const std::string_view> keys) : keys_(keys), taken_(keys.size()) {}

  // True once for each wanted key.
  [[nodiscard]] bool take(std::string_view key) {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (!equal_ignoring_case(keys_[i], key)) continue;
      if (taken_[i]) return false;
      return taken_[i] = true;
    }
    return false;
  }

 private:
  std::span<const std::string_view> keys_;
  std::vector<bool> taken_;
};

}  // namespace corvexal
