// The semaphore as a lock: an object's guard, and the lock of a critical section.
//
// Order of locks: an object's guard, then the guard of a wait group's internal event, then the lock of the
// named objects, then the process-wide section of the interlocked operations. Nothing is waited for, and
// nobody is woken, while one of them is held.
#ifndef KALTO_KERNEL_GUARD_H
#define KALTO_KERNEL_GUARD_H

#include <semaphore.h>
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace kalto {

// The thread sanitizer is blind to the semaphores of a thread that was terminated inside sem_wait, and so to
// the order that they make; these tell it. They are nothing otherwise.
inline void note_taken([[maybe_unused]] sem_t& lock) {
#ifdef __SANITIZE_THREAD__
    __tsan_acquire(&lock);
#endif
}

inline void note_given_back([[maybe_unused]] sem_t& lock) {
#ifdef __SANITIZE_THREAD__
    __tsan_release(&lock);
#endif
}

// Takes the semaphore, however often signals interrupt it. Not a cancellation point: a thread that is
// terminated is never terminated between two steps of one of our operations.
void take_after_waiting(sem_t& lock);

inline void take(sem_t& lock) {
    // Unlike sem_wait, sem_trywait is no cancellation point, so the usual case needs no more than this.
    if (sem_trywait(&lock) != 0)
        take_after_waiting(lock);
    note_taken(lock);
}

inline void give_back(sem_t& lock) {
    note_given_back(lock);
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
