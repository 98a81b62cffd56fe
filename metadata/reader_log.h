// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "base/log.h"

// The levels and the category of err_log under which the readers of MP3 files report.

namespace corvexal {

inline constexpr int kStreamFailure = 1, kFileFailure = 2, kVerbose = 9;
inline constexpr std::uint32_t kReaders = 8;

// Whether messages of level kVerbose are written.
[[nodiscard]] inline bool is_verbose() {
  return log_level >= kVerbose && (log_categories & kReaders) != 0;
}

}  // namespace corvexal
