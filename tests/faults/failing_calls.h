// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace corvexal::testing {

// While it lives, the system call number `number` from here on (0 is the first; of those that read, write,
// sync, rename and make folders) fails with `error`, and every later one too with `for_good`.
class FailingCall {
 public:
  FailingCall(int number, int error, bool for_good);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  // True once the call came.
  [[nodiscard]] static bool came();
};

}  // namespace corvexal::testing
