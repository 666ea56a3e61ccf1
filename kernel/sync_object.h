// What events, mutexes, semaphores and threads have in common. Everything here is called under the object's
// guard unless it says otherwise.
#ifndef KALTO_KERNEL_SYNC_OBJECT_H
#define KALTO_KERNEL_SYNC_OBJECT_H

#include "kernel/handle_record.h"
#include "kernel/waiter.h"

namespace kalto {

// sem_init for use inside the process; errno is 0 afterwards, or the error.
void init_semaphore(sem_t& semaphore, unsigned value);

// Completes a new record of any of the four types: semaphores, and ready. No guard yet.
void init_sync(SyncRecord& object);

// Would a wait by this thread succeed at once?
inline bool signalled_for(SyncRecord& object, pthread_t thread) {
    const auto& counted = object.u.counted;
    if (object.head.type == HT_SEMAPHORE)
        object.state = counted.count > 0;
    else if (object.head.type == HT_MUTEX)
        object.state = counted.count >= 1 || (counted.owner != 0 && pthread_equal(counted.owner, thread));
    return object.state != 0;
}

// What a successful wait by this thread does to the object.
inline void consume_for(SyncRecord& object, pthread_t thread) {
    auto& counted = object.u.counted;
    if (object.head.type == HT_SEMAPHORE) {
        --counted.count;
    } else if (object.head.type != HT_MUTEX) {
        object.state = object.manual_reset;
    } else if (counted.owner == 0 || !pthread_equal(counted.owner, thread)) {
        // Deliberate: its owner may take it again, but there is no count of that; one release frees it.
        --counted.count;
        if (counted.count == 0)
            counted.owner = thread;
    }
}

// After the object became signalled: gives the signal to those who are blocked on it, as far as it goes, and
// sets the event of every wait group that waits for it.
void distribute_to_all(SyncRecord& object, WakeList& woken);
inline void distribute(SyncRecord& object, WakeList& woken) {
    if (object.first_waiter != nullptr || object.link != nullptr)
        distribute_to_all(object, woken);
}

// Puts back what was consumed for a thread that will not take it, and distributes it.
void restore(SyncRecord& object, pthread_t thread, WakeList& woken);

// An event or a thread: signalled from now on.
inline void set_state(SyncRecord& object, WakeList& woken) {
    object.state = 1;
    distribute(object, woken);
}

// Gives back one pin and the guard; frees the object when it was the last pin of one that nobody can close.
void unpin(SyncRecord& object);

// Takes back one reference, and the place of a wait group with it if of_wait is set. Returns how many are
// left. Wait groups that wait without end for what nobody can signal any more are told. Takes the guard.
LONG drop_reference(SyncRecord& object, bool of_wait);

// Closes the object for good: every call refuses it from now on, and whoever is blocked on it is turned away.
// False when it had been closed before. Takes the guard.
bool retire(SyncRecord& object);

// Nobody is left to close the object: frees it now, or with the last pin. Takes the guard.
void abandon_memory(SyncRecord& object);

} // namespace kalto

#endif
