// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "base/log.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {

// What `action` makes err_log write on standard error at the given level and for the given categories.
std::string logged(int level, std::uint32_t categories, const auto& action) {
  CapturedOutput log(2);
  log_level = level;
  log_categories = categories;
  action();
  log_level = 0;
  return log.text();
}

}  // namespace corvexal::testing
