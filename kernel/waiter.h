// Threads that are blocked on one object, and how a signal reaches them.
//
//  1. A thread blocks by queueing a SingleWaiter on its own stack at the object, under the object's guard.
//  2. A waiter leaves the queue once: it is given the signal (which is consumed for it in the same step), or
//     turned away because the object was closed, or it goes of its own accord (time-out, interruption,
//     termination).
//  3. A waiter that others took out of the queue gets one post on its own semaphore, after the guard has been
//     given back, and does not return before it has had that post. So nobody wakes up to a guard that is
//     still held, and no post is ever left over.
//  4. While the queue is not empty, the object is not signalled for the waiters in it: a signal is handed
//     out before the guard is given back, and newcomers find only what is left.
//  5. A waiter pins the object's memory until it has gone.
#ifndef KALTO_KERNEL_WAITER_H
#define KALTO_KERNEL_WAITER_H

#include "kernel/handle_record.h"
#include <time.h>

namespace kalto {

struct SingleWaiter {
    SingleWaiter* next;
    sem_t wake; // posted once, by whoever took the waiter out of the queue
    pthread_t thread;
    bool queued;      // guarded by the object's guard
    bool turned_away; // likewise
};

// Collects waiters that were taken out of a queue and wakes them when it goes out of scope: declare it before
// the guard, so that the guard is given back first.
class WakeList {
  public:
    WakeList() = default;
    ~WakeList() {
        if (first_ != nullptr)
            wake_all();
    }
    WakeList(const WakeList&) = delete;
    WakeList& operator=(const WakeList&) = delete;
    void add(SingleWaiter& waiter);

  private:
    void wake_all();
    SingleWaiter* first_ = nullptr;
    SingleWaiter* last_ = nullptr;
};

// The waiter that has waited longest, out of the queue; null when nobody waits. Under the guard.
SingleWaiter* next_waiter(SyncRecord& object);

enum class Interruption { kReturned, kRetried };

// Blocks the calling thread until the object's signal is given to it or the deadline (null: none) has passed.
// Entered holding the guard, which is given back. Returns 0 when the signal was given, WAIT_FAILED when the
// object was closed, ETIMEDOUT, or another errno value of the wait. kRetried: an error equal to WSAEINTR does
// not end the wait. A thread that is terminated in here passes on what it was given.
DWORD block(SyncRecord& object, const timespec* deadline, Interruption interruption);

} // namespace kalto

#endif
