// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/small_disk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "base/descriptor.h"

namespace corvexal::testing {
namespace {

constexpr int kPassed = 0, kFailed = 1, kNotAllowed = 77;

// Who is not root mounts as the root of a namespace of users.
bool enter_private_mounts() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (user == 0) return unshare(CLONE_NEWNS) == 0;
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  return true;
}

bool mount_disk(const std::string& path, std::uint64_t size) {
  const std::string options = "size=" + std::to_string(size) + "k";
  return enter_private_mounts() && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("small", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

}  // namespace

bool on_small_disk(const std::string& path, std::uint64_t size, const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    if (!mount_disk(path, size)) _exit(kNotAllowed);
    body();
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? kFailed : kPassed);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  EXPECT_NE(WEXITSTATUS(status), kFailed);
  return WEXITSTATUS(status) != kNotAllowed;
}

FilledDisk::FilledDisk(const std::string& folder, std::uint64_t free) : filler_(folder + "/filler") {
  const Descriptor file(open(filler_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  struct statvfs disk {};
  EXPECT_EQ(statvfs(folder.c_str(), &disk), 0);
  const std::uint64_t room = disk.f_bavail * disk.f_frsize;
  if (room <= free * 1024) return;
  EXPECT_EQ(posix_fallocate(file.get(), 0, static_cast<off_t>(room - free * 1024)), 0);
}

FilledDisk::~FilledDisk() {
  unlink(filler_.c_str());
}

}  // namespace corvexal::testing
