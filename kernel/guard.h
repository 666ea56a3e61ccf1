// The semaphore as a lock: an object's guard, and the lock of a critical section.
//
// Order of locks: an object's guard, then the guard of a wait group's internal event, then the lock of the
// named objects, then the process-wide section of the interlocked operations. Nothing is waited for, and
// nobody is woken, while one of them is held.
#ifndef KALTO_KERNEL_GUARD_H
#define KALTO_KERNEL_GUARD_H

#include <semaphore.h>

namespace kalto {

// Takes the semaphore, however often signals interrupt it. Not a cancellation point: a thread that is
// terminated is never terminated between two steps of one of our operations.
void take(sem_t& lock);

inline void give_back(sem_t& lock) {
    sem_post(&lock);
}

class Guard {
  public:
    explicit Guard(sem_t& lock) : lock_(lock) { take(lock_); }
    ~Guard() { give_back(lock_); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    sem_t& lock_;
};

// Keeps the calling thread from being terminated while it lives.
class CancellationOff {
  public:
    CancellationOff();
    ~CancellationOff();
    CancellationOff(const CancellationOff&) = delete;
    CancellationOff& operator=(const CancellationOff&) = delete;

  private:
    int before_;
};

} // namespace kalto

#endif
