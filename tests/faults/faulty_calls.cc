// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded before the C library into a program under test, by tests/runs/disturbed: counts its system calls,
// and fails one of them or kills the program before it. What to do is told by environment variables:
//   FAULT_CALL      number of the call, from 0
//   FAULT_ERROR     the errno of its failure; 0 kills the program
//   FAULT_FOR_GOOD  when set, every later call fails, too
//   FAULT_PATH      when set, only calls that name a path with this part, or work on such a file, count
//   FAULT_NAME      when set, only calls of this name count
//   FAULT_MINUTES   when set, a minute goes by at every look at the clock
//   FAULT_COUNT     when set, the number of calls is written to standard error at the end
// It includes no header that declares the calls: here they all take and give whole registers, whatever their
// types.
#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

extern "C" int raise(int signal);
extern "C" int snprintf(char* into, unsigned long size, const char* format, ...);
extern "C" int dprintf(int descriptor, const char* format, ...);

namespace {

constexpr int kKillSignal = 9;

class Fault {
 public:
  bool comes_now(const char* name, const char* path) {
    if (path_ != nullptr && (path == nullptr || std::strstr(path, path_) == nullptr)) return false;
    if (name_ != nullptr && std::strcmp(name, name_) != 0) return false;
    const long number = calls_++;
    if (number < call_ || (number > call_ && !for_good_)) return false;
    if (error_ == 0) raise(kKillSignal);
    dprintf(2, "%s fails\n", name);
    errno = error_;
    return true;
  }
  ~Fault() {
    if (std::getenv("FAULT_COUNT") != nullptr) dprintf(2, "calls %ld\n", calls_);
  }

 private:
  static long number(const char* name, long otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::atol(text) : otherwise;
  }

  const long call_ = number("FAULT_CALL", 1L << 30);
  const int error_ = static_cast<int>(number("FAULT_ERROR", 0));
  const bool for_good_ = std::getenv("FAULT_FOR_GOOD") != nullptr;
  const char *const path_ = std::getenv("FAULT_PATH"), *const name_ = std::getenv("FAULT_NAME");
  long calls_ = 0;
};

bool fails_now(const char* name, const char* path) {
  static Fault fault;
  return fault.comes_now(name, path);
}

const char* as_path(long argument) {
  return reinterpret_cast<const char*>(argument);
}

using Call = long long (*)(long, long, long, long, long, long);

Call real(const char* name) {
  return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

// Of an open file, when it matters; empty for what is none.
const char* path_of(long descriptor) {
  static const bool matters = std::getenv("FAULT_PATH") != nullptr;
  static const Call read_link = real("readlink");
  if (!matters) return nullptr;
  static char path[4096];
  const int before = errno;
  char link[32];
  snprintf(link, sizeof link, "/proc/self/fd/%ld", descriptor);
  const long long size =
      read_link(reinterpret_cast<long>(link), reinterpret_cast<long>(path), sizeof path - 1, 0, 0, 0);
  path[size > 0 ? size : 0] = '\0';
  errno = before;
  return path;
}

}  // namespace

#define CALL(name, path, failure)                                                             \
  extern "C" long long name(long a, long b, long c, long d, long e, long f) {                 \
    static const Call call = real(#name);                                                     \
    return fails_now(#name, path) ? static_cast<long long>(failure) : call(a, b, c, d, e, f); \
  }
#define OF_NO_FILE(name) CALL(name, nullptr, -1)
#define OF_DESCRIPTOR(name) CALL(name, path_of(a), -1)
#define OF_PATH(name) CALL(name, as_path(a), -1)
#define OF_PATH_IN_FOLDER(name) CALL(name, as_path(b), -1)

OF_DESCRIPTOR(read)
OF_DESCRIPTOR(write)
OF_DESCRIPTOR(pread64)
OF_DESCRIPTOR(pwrite64)
OF_DESCRIPTOR(lseek)
OF_DESCRIPTOR(lseek64)
OF_DESCRIPTOR(fstat)
OF_DESCRIPTOR(fstat64)
OF_DESCRIPTOR(fsync)
OF_DESCRIPTOR(fdatasync)
OF_DESCRIPTOR(ftruncate)
OF_DESCRIPTOR(ftruncate64)
OF_DESCRIPTOR(fcntl)
OF_DESCRIPTOR(fcntl64)
OF_DESCRIPTOR(fchmod)
OF_DESCRIPTOR(fchown)
OF_DESCRIPTOR(flock)
OF_DESCRIPTOR(dup)
CALL(mmap, path_of(e), -1)
CALL(mmap64, path_of(e), -1)
CALL(fdopen, path_of(a), 0)
CALL(fdopendir, path_of(a), 0)
CALL(readdir64, nullptr, 0)

OF_NO_FILE(semget)
OF_NO_FILE(semctl)
OF_NO_FILE(semop)
OF_NO_FILE(semtimedop)

OF_PATH(open)
OF_PATH(open64)
OF_PATH(__open_2)
OF_PATH(__open64_2)
OF_PATH(access)
OF_PATH(stat)
OF_PATH(stat64)
OF_PATH(lstat64)
OF_PATH(readlink)
OF_PATH(mkdir)
OF_PATH(unlink)
OF_PATH(rename)
CALL(opendir, as_path(a), 0)
CALL(fopen, as_path(a), 0)
CALL(fopen64, as_path(a), 0)

OF_PATH_IN_FOLDER(openat64)
OF_PATH_IN_FOLDER(__openat64_2)
OF_PATH_IN_FOLDER(fstatat64)
OF_PATH_IN_FOLDER(faccessat)
OF_PATH_IN_FOLDER(mkdirat)
OF_PATH_IN_FOLDER(renameat)
OF_PATH_IN_FOLDER(unlinkat)
OF_PATH_IN_FOLDER(readlinkat)

// The seconds come first.
#define CLOCK(name)                                                                 \
  extern "C" long long name(long clock, long* time) {                               \
    static const Call call = real(#name);                                           \
    static long passed = 0;                                                         \
    const long long result = call(clock, reinterpret_cast<long>(time), 0, 0, 0, 0); \
    if (std::getenv("FAULT_MINUTES") != nullptr) *time += passed += 60;             \
    return result;                                                                  \
  }
CLOCK(clock_gettime)
CLOCK(__clock_gettime64)

// A descriptor is gone even when closing it fails.
extern "C" int close(int descriptor) {
  static const auto call = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
  const int result = call(descriptor);
  return fails_now("close", nullptr) ? -1 : result;
}
