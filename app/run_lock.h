// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace corvexal {

// The key shared by every process that updates the two stores.
inline constexpr int kRunLockKey = 12332211;

// The identifier of our semaphore set of one semaphore, created free (1) when it is missing; -1 after a line
// on standard output, or on standard error, when it can be neither opened nor created. A set that root
// creates is open to privileged processes only, any other one to its user.
//
// A set is ours when its owner and its creator are the user that runs. Whoever made another one could hold it
// for ever, or let everybody in: root puts its own in the place of such a set, and nobody else goes on beside
// it.
int GetSemaphoreID(int key);

// Holds the lock: taken, after waiting for as long as it is held elsewhere, when it is made, and given back
// when it goes; the kernel gives back what a killed process held. A set that goes away meanwhile is opened
// anew, and one of ours that its creator left before it was made free is made free. A failure of waiting or
// giving back is a line on standard output, and going on without the lock one on standard error.
class RunLock {
 public:
  RunLock();
  ~RunLock();
  RunLock(const RunLock&) = delete;
  RunLock& operator=(const RunLock&) = delete;

  // False when there is no set to wait for.
  explicit operator bool() const { return sem_id_ != -1; }

 private:
  void wait();

  int sem_id_;
  bool is_held_ = false;
};

}  // namespace corvexal
