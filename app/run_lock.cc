#include "app/run_lock.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cerrno>
#include <cstdio>

namespace corvexal {
namespace {

// What semctl takes as its last argument, and no header declares. A plain int in its place reads as 0 on
// big-endian machines of 64 bits: the lock would never be free.
union SemaphoreArgument {
  int val;
  semid_ds* buf;
};

int failed(const char* what) {
  std::printf("%s ERRNO:%d\n", what, errno);
  return -1;
}

void change_semaphore(int sem_id, short by) {
  sembuf operation{.sem_num = 0, .sem_op = by, .sem_flg = SEM_UNDO};
  // One text for both directions; scripts that watch for it know it so.
  if (semop(sem_id, &operation, 1) != 0) failed("Semaphore Wait");
}

}  // namespace

int GetSemaphoreID(int key) {
  if (const int sem_id = semget(key, 1, 0); sem_id != -1) return sem_id;
  if (errno != ENOENT) return failed("Open Semaphore");
  // Two runs that both find the set missing may both set it to free: an accepted race, once in a device's
  // life.
  const int sem_id = semget(key, 1, IPC_CREAT);
  if (sem_id == -1) return failed("Create Semaphore");
  const SemaphoreArgument free{.val = 1};
  if (semctl(sem_id, 0, SETVAL, free) == -1) return failed("Init Semaphore");
  return sem_id;
}

RunLock::RunLock(int sem_id) : sem_id_(sem_id) {
  change_semaphore(sem_id_, -1);
}

RunLock::~RunLock() {
  change_semaphore(sem_id_, 1);
}

}  // namespace corvexal
