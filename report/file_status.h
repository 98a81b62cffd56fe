// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>

namespace corvexal::report {

// True for the errors of stat that say that there is no such file; others say nothing of the kind.
[[nodiscard]] inline bool is_gone(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

}  // namespace corvexal::report
