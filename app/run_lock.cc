// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/run_lock.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

#include "base/log.h"

namespace corvexal {
namespace {

using Clock = std::chrono::steady_clock;

// How long a wait goes on before it looks after the set, and before it says who is in the way.
constexpr std::chrono::seconds kLookAfter{3}, kSpeakAfter{60};

// What semctl takes as its last argument, and no header declares. A plain int in its place reads as 0 on
// big-endian machines of 64 bits: the lock would never be free.
union SemaphoreArgument {
  int val;
  semid_ds* buf;
};

constexpr SemaphoreArgument kFree{.val = 1};

int failed(const char* what) {
  std::printf("%s ERRNO:%d\n", what, errno);
  return -1;
}

bool is_gone(int error) {
  return error == EIDRM || error == EINVAL;
}

enum class Owner { kUs, kAnother, kGone, kUnknown };

Owner owner_of(int sem_id) {
  semid_ds set{};
  const SemaphoreArgument status{.buf = &set};
  if (semctl(sem_id, 0, IPC_STAT, status) == 0)
    return set.sem_perm.uid == geteuid() && set.sem_perm.cuid == geteuid() ? Owner::kUs : Owner::kAnother;
  if (is_gone(errno)) return Owner::kGone;
  // Root's set lets nobody in. Who may not look at it is not its owner, or is a root without the right to look.
  return errno == EACCES && geteuid() != 0 ? Owner::kAnother : Owner::kUnknown;
}

// The set, made and free; -1 with errno, EEXIST when another run was faster.
int make_set(int key) {
  const int mode = geteuid() == 0 ? 0 : 0600;
  const int sem_id = semget(key, 1, IPC_CREAT | IPC_EXCL | mode);
  if (sem_id == -1) return errno == EEXIST ? -1 : failed("Create Semaphore");
  return semctl(sem_id, 0, SETVAL, kFree) == -1 ? failed("Init Semaphore") : sem_id;
}

// Left by a run that ended between making the set and setting it free: nobody has ever taken it.
bool was_never_free(int sem_id) {
  semid_ds set{};
  const SemaphoreArgument status{.buf = &set};
  return semctl(sem_id, 0, IPC_STAT, status) == 0 && set.sem_otime == 0 && semctl(sem_id, 0, GETVAL) == 0;
}

}  // namespace

int GetSemaphoreID(int key) {
  constexpr int kMostTries = 100;  // each one more only when another run has just changed the set
  for (int tries = 0; tries < kMostTries; ++tries) {
    const int sem_id = semget(key, 1, 0);
    if (sem_id == -1) {
      if (errno != ENOENT) return failed("Open Semaphore");
      if (const int made = make_set(key); made != -1 || errno != EEXIST) return made;
      continue;
    }
    const Owner owner = owner_of(sem_id);
    if (owner == Owner::kUs) return sem_id;
    if (owner == Owner::kGone) continue;
    if (owner == Owner::kUnknown) break;
    if (geteuid() != 0) {
      error_printf("Corvexal: the run lock belongs to another user; nothing is done without it\n");
      return -1;
    }
    error_printf("Corvexal: the run lock was another user's and is made anew\n");
    if (semctl(sem_id, 0, IPC_RMID) == -1 && !is_gone(errno)) return failed("Open Semaphore");
  }
  return failed("Open Semaphore");
}

RunLock::RunLock() : sem_id_(GetSemaphoreID(kRunLockKey)) {
  if (sem_id_ != -1) wait();
}

void RunLock::wait() {
  const Clock::time_point began = Clock::now();
  bool has_spoken = false;
  for (;;) {
    sembuf take{.sem_num = 0, .sem_op = -1, .sem_flg = SEM_UNDO};
    const std::timespec pause{.tv_sec = kLookAfter.count(), .tv_nsec = 0};
    if (semtimedop(sem_id_, &take, 1, &pause) == 0) {
      is_held_ = true;
      return;
    }
    if (errno == EINTR) continue;
    if (is_gone(errno)) {
      const int anew = GetSemaphoreID(kRunLockKey);
      if (anew == -1 || anew == sem_id_) break;
      sem_id_ = anew;
      continue;
    }
    if (errno != EAGAIN) break;
    if (was_never_free(sem_id_)) semctl(sem_id_, 0, SETVAL, kFree);
    if (has_spoken || Clock::now() - began < kSpeakAfter) continue;
    has_spoken = true;
    error_printf("Corvexal: still waiting for the run lock, which process %d holds\n",
                 semctl(sem_id_, 0, GETPID));
  }
  failed("Semaphore Wait");
  error_printf("Corvexal: going on without the run lock\n");
}

RunLock::~RunLock() {
  if (!is_held_) return;
  sembuf give{.sem_num = 0, .sem_op = 1, .sem_flg = SEM_UNDO};
  // The text of the wait: scripts that look for it know one text for both.
  if (semop(sem_id_, &give, 1) != 0) failed("Semaphore Wait");
}

}  // namespace corvexal
