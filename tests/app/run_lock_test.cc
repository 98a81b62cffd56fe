#include "app/run_lock.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

bool comes_true(auto condition) {
  for (int i = 0; i < 1000 && !condition(); ++i) usleep(1000);
  return condition();
}

// The life of a lock from a set that is missing; the line of the first step that fails, 0 when none does.
// What the kernel counts says who holds the semaphore and who sleeps on it.
int live_through_a_lock() {
  const int sem_id = GetSemaphoreID(kRunLockKey);
  const auto is_free = [sem_id] { return semctl(sem_id, 0, GETVAL) == 1; };
  if (sem_id == -1 || !is_free()) return __LINE__;
  if (semaphore_wait(sem_id) != 0 || GetSemaphoreID(kRunLockKey) != sem_id || is_free()) return __LINE__;

  const pid_t second = fork();
  if (second == 0) {
    semaphore_wait(sem_id);
    sleep(10);
    _exit(0);
  }
  if (!comes_true([sem_id] { return semctl(sem_id, 0, GETNCNT) == 1; })) return __LINE__;
  if (semaphore_release(sem_id) != 0) return __LINE__;
  if (!comes_true([sem_id, second] { return semctl(sem_id, 0, GETPID) == second; }) || is_free())
    return __LINE__;
  kill(second, SIGKILL);
  waitpid(second, nullptr, 0);
  return is_free() ? 0 : __LINE__;
}

// In a process and an IPC namespace of its own, where no other run's semaphore is to be seen.
TEST(RunLock, IsCreatedFreeMakesASecondRunWaitAndIsGivenBackByAKilledHolder) {
  constexpr int kNoNamespace = 255;
  const pid_t child = fork();
  if (child == 0) {
    const int kinds = geteuid() == 0 ? CLONE_NEWIPC : CLONE_NEWIPC | CLONE_NEWUSER;
    _exit(unshare(kinds) == 0 ? live_through_a_lock() : kNoNamespace);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WEXITSTATUS(status) == kNoNamespace) GTEST_SKIP() << "no private IPC namespace here";
  EXPECT_EQ(status, 0) << "line " << WEXITSTATUS(status);
}

TEST(RunLock, SaysWhatFails) {
  testing::CapturedOutput output;
  EXPECT_EQ(semaphore_wait(-1) + semaphore_release(-1), -2);
  EXPECT_EQ(output.text(), "Semaphore Wait ERRNO:22\nSemaphore Wait ERRNO:22\n");
}

}  // namespace
}  // namespace corvexal
