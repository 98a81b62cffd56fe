#pragma once

#include <cstdint>

namespace corvexal::testing {

// While it lives, no file can be read from `offset` on: such a read fails with EIO, one that begins before it
// comes short, as on a disk with a bad sector.
class FailingReads {
 public:
  explicit FailingReads(std::int64_t offset);
  ~FailingReads();
  FailingReads(const FailingReads&) = delete;
  FailingReads& operator=(const FailingReads&) = delete;
};

}  // namespace corvexal::testing
