#pragma once

namespace corvexal {

// The key shared by every process that updates the two stores.
inline constexpr int kRunLockKey = 12332211;

// The identifier of the semaphore set of one semaphore, created free (1) when it is missing; -1, after a line
// on standard output, when it can be neither opened nor created. A set that this creates is open to
// privileged processes only.
int GetSemaphoreID(int key);

// Takes the semaphore, waiting as long as it is held; the kernel gives it back when the process ends. Returns
// 0, or -1 after a line on standard output.
int semaphore_wait(int sem_id);

// Gives the semaphore back. Returns 0, or -1 after a line on standard output.
int semaphore_release(int sem_id);

}  // namespace corvexal
