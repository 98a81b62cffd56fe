#pragma once

namespace corvexal {

// The key shared by every process that updates the two stores.
inline constexpr int kRunLockKey = 12332211;

// The identifier of the semaphore set of one semaphore, created free (1) when it is missing; -1, after a line
// on standard output, when it can be neither opened nor created. A set that this creates is open to
// privileged processes only.
int GetSemaphoreID(int key);

// Holds the lock: taken, after waiting for as long as it is held elsewhere, when it is made, and given back
// when it goes. A failure of either is a line on standard output and nothing more. The kernel gives back what
// a killed process held.
class RunLock {
 public:
  explicit RunLock(int sem_id);
  ~RunLock();
  RunLock(const RunLock&) = delete;
  RunLock& operator=(const RunLock&) = delete;

 private:
  int sem_id_;
};

}  // namespace corvexal
