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

using testing::CapturedOutput;

int value_of(int sem_id) {
  return semctl(sem_id, 0, GETVAL);
}

// Runs `body` in a process of its own, inside a namespace where no other run's semaphore is to be seen, and
// returns its exit status.
template <class Body>
int in_private_namespace(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    const int kinds = geteuid() == 0 ? CLONE_NEWIPC : CLONE_NEWIPC | CLONE_NEWUSER;
    _exit(unshare(kinds) == 0 ? body() : 77);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#define IN_PRIVATE_NAMESPACE(body)                                    \
  const int outcome = in_private_namespace(body);                     \
  if (outcome == 77) GTEST_SKIP() << "no private IPC namespace here"; \
  EXPECT_EQ(outcome, 0)

TEST(RunLock, IsCreatedFreeAndTakenOnce) {
  IN_PRIVATE_NAMESPACE([] {
    const int sem_id = GetSemaphoreID(kRunLockKey);
    if (sem_id == -1 || value_of(sem_id) != 1) return 1;
    if (GetSemaphoreID(kRunLockKey) != sem_id || value_of(sem_id) != 1) return 2;
    if (semaphore_wait(sem_id) != 0 || value_of(sem_id) != 0) return 3;
    if (semaphore_release(sem_id) != 0) return 4;
    return value_of(sem_id) == 1 ? 0 : 5;
  });
}

TEST(RunLock, MakesASecondRunWait) {
  IN_PRIVATE_NAMESPACE([] {
    const int sem_id = GetSemaphoreID(kRunLockKey);
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) return 1;
    semaphore_wait(sem_id);
    const pid_t second = fork();
    if (second == 0) {
      semaphore_wait(sem_id);
      _exit(write(pipe_ends[1], "x", 1) == 1 ? 0 : 1);
    }
    // The kernel itself says that the second run sleeps on the semaphore.
    for (int i = 0; i < 1000 && semctl(sem_id, 0, GETNCNT) != 1; ++i) usleep(1000);
    if (semctl(sem_id, 0, GETNCNT) != 1) return 2;
    semaphore_release(sem_id);
    char byte = 0;
    return read(pipe_ends[0], &byte, 1) == 1 && waitpid(second, nullptr, 0) == second ? 0 : 3;
  });
}

TEST(RunLock, IsGivenBackByAKilledHolder) {
  IN_PRIVATE_NAMESPACE([] {
    const int sem_id = GetSemaphoreID(kRunLockKey);
    const pid_t holder = fork();
    if (holder == 0) {
      semaphore_wait(sem_id);
      pause();
    }
    for (int i = 0; i < 1000 && value_of(sem_id) != 0; ++i) usleep(1000);
    if (value_of(sem_id) != 0) return 1;
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    return value_of(sem_id) == 1 ? 0 : 2;
  });
}

TEST(RunLock, SaysWhatFails) {
  CapturedOutput output;
  EXPECT_EQ(semaphore_wait(-1), -1);
  EXPECT_EQ(semaphore_release(-1), -1);
  EXPECT_EQ(output.text(), "Semaphore Wait ERRNO:22\nSemaphore Wait ERRNO:22\n");
}

}  // namespace
}  // namespace corvexal
