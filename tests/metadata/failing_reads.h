// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>

namespace corvexal::testing {

// While it lives, no file can be read from `offset` on: such a read fails with EIO, one that begins before it
// comes short, as on a disk with a bad sector.
struct FailingReads {
  explicit FailingReads(std::int64_t offset) { from = offset; }
  ~FailingReads() { from = std::numeric_limits<std::int64_t>::max(); }
  FailingReads(const FailingReads&) = delete;
  FailingReads& operator=(const FailingReads&) = delete;

  static inline std::int64_t from = std::numeric_limits<std::int64_t>::max();
};

}  // namespace corvexal::testing
