// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/failing_calls.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace {

constexpr int kNever = -1;
int calls_left = kNever;
int error_of_call = 0;
bool fails_for_good = false;
bool has_failed = false;

bool fails_now() {
  if (calls_left == kNever) return false;
  if (calls_left > 0) return --calls_left, false;
  if (has_failed && !fails_for_good) return false;
  has_failed = true;
  errno = error_of_call;
  return true;
}

template <class Function, class... Arguments>
auto call(const char* name, Arguments... arguments) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

// These stand before the C library's own.
extern "C" {

ssize_t read(int file, void* into, std::size_t size) {
  return fails_now() ? -1 : call<ssize_t (*)(int, void*, std::size_t)>("read", file, into, size);
}

ssize_t write(int file, const void* from, std::size_t size) {
  return fails_now() ? -1 : call<ssize_t (*)(int, const void*, std::size_t)>("write", file, from, size);
}

int fsync(int file) {
  return fails_now() ? -1 : call<int (*)(int)>("fsync", file);
}

int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  return fails_now() ? -1 : call<int (*)(int, const char*, mode_t)>("mkdirat", folder, name, mode);
}

int renameat(int from, const char* name, int to, const char* new_name) noexcept {
  return fails_now()
             ? -1
             : call<int (*)(int, const char*, int, const char*)>("renameat", from, name, to, new_name);
}

}  // extern "C"

namespace corvexal::testing {

FailingCall::FailingCall(int number, int error, bool for_good) {
  error_of_call = error;
  fails_for_good = for_good;
  has_failed = false;
  calls_left = number;
}

FailingCall::~FailingCall() {
  calls_left = kNever;
}

bool FailingCall::came() {
  return has_failed;
}

}  // namespace corvexal::testing
