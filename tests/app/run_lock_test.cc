// SPDX-License-Identifier: GPL-3.0-or-later
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

constexpr int kNotPossible = 255;

// What `story` returns in a process and an IPC namespace of its own, where no other run's semaphore is to be
// seen: the line of the first step that fails, 0 when none does, kNotPossible where the system does not let
// us.
int in_private_namespace(int (*story)()) {
  const pid_t child = fork();
  if (child == 0) {
    const int kinds = geteuid() == 0 ? CLONE_NEWIPC : CLONE_NEWIPC | CLONE_NEWUSER;
    _exit(unshare(kinds) == 0 ? story() : kNotPossible);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool comes_true(auto condition) {
  for (int i = 0; i < 1000 && !condition(); ++i) usleep(1000);
  return condition();
}

// What the kernel counts says who holds the semaphore and who sleeps on it.
int live_through_a_lock() {
  const int sem_id = GetSemaphoreID(kRunLockKey);
  const auto is_free = [sem_id] { return semctl(sem_id, 0, GETVAL) == 1; };
  if (sem_id == -1 || !is_free()) return __LINE__;
  semid_ds set{};
  if (semctl(sem_id, 0, IPC_STAT, &set) != 0 || (set.sem_perm.mode & 0777U) != 0) return __LINE__;

  pid_t second = -1;
  {
    const RunLock lock;
    if (GetSemaphoreID(kRunLockKey) != sem_id || is_free()) return __LINE__;
    second = fork();
    if (second == 0) {
      const RunLock waits;
      sleep(10);
      _exit(0);
    }
    if (!comes_true([sem_id] { return semctl(sem_id, 0, GETNCNT) == 1; })) return __LINE__;
  }
  if (!comes_true([sem_id, second] { return semctl(sem_id, 0, GETPID) == second; }) || is_free())
    return __LINE__;
  kill(second, SIGKILL);
  waitpid(second, nullptr, 0);
  return is_free() ? 0 : __LINE__;
}

// A holder's wait is interrupted, the set goes away under it, another user has made the set, or nobody has
// made it free: each time the lock is had in the end, and by one alone.
int survive_what_happens_to_the_set() {
  const int sem_id = GetSemaphoreID(kRunLockKey);
  pid_t waiting = -1;
  {
    const RunLock lock;
    waiting = fork();
    if (waiting == 0) {
      const RunLock waits;
      _exit(waits && semctl(GetSemaphoreID(kRunLockKey), 0, GETVAL) == 0 ? 0 : 1);
    }
    const auto sleeps = [sem_id] { return semctl(sem_id, 0, GETNCNT) == 1; };
    if (!comes_true(sleeps)) return __LINE__;
    kill(waiting, SIGSTOP);
    usleep(10'000);
    kill(waiting, SIGCONT);
    usleep(50'000);
    if (!comes_true(sleeps)) return __LINE__;
    semctl(sem_id, 0, IPC_RMID);
    testing::CapturedOutput giving_back;
  }
  int status = -1;
  waitpid(waiting, &status, 0);
  if (status != 0) return __LINE__;

  const int foreign = GetSemaphoreID(kRunLockKey);
  semid_ds set{};
  if (semctl(foreign, 0, IPC_STAT, &set) != 0) return __LINE__;
  set.sem_perm.uid = 1000;
  set.sem_perm.mode = 0666;
  const int given_away = semctl(foreign, 0, IPC_SET, &set);
  if (given_away == 0) {
    semctl(foreign, 0, SETVAL, 0);
    testing::CapturedOutput errors(2);
    const RunLock lock;
    if (!lock || GetSemaphoreID(kRunLockKey) == foreign) return __LINE__;
  }

  semctl(GetSemaphoreID(kRunLockKey), 0, IPC_RMID);
  if (semget(kRunLockKey, 1, IPC_CREAT | 0600) == -1) return __LINE__;  // never set free
  const RunLock lock(kRunLockKey, {.look_after = std::chrono::seconds(1)});
  return lock ? 0 : __LINE__;
}

TEST(RunLock, IsCreatedFreeMakesASecondRunWaitAndIsGivenBackByAKilledHolder) {
  const int line = in_private_namespace(live_through_a_lock);
  if (line == kNotPossible) GTEST_SKIP() << "no private IPC namespace here";
  EXPECT_EQ(line, 0);
}

TEST(RunLock, SurvivesInterruptionsRemovalAndSetsOfOthers) {
  const int line = in_private_namespace(survive_what_happens_to_the_set);
  if (line == kNotPossible) GTEST_SKIP() << "no private IPC namespace here";
  EXPECT_EQ(line, 0);
}

}  // namespace
}  // namespace corvexal
