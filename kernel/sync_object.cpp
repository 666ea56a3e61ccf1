#include "kernel/sync_object.h"

#include "kernel/guard.h"
#include "kernel/interlocked.h"
#include "kernel/wait_group.h"
#include <errno.h>
#include <kalto/system.h>
#include <stdlib.h>

namespace kalto {

void init_semaphore(sem_t& semaphore, unsigned value) {
    if (sem_init(&semaphore, 0, value) == 0)
        errno = 0;
}

void init_sync(SyncRecord& object) {
    init_semaphore(object.guard, 1);
    init_semaphore(object.signal, 1);
    object.ready = true;
}

void distribute_to_all(SyncRecord& object, WakeList& woken) {
    while (object.first_waiter != nullptr && signalled_for(object, object.first_waiter->thread)) {
        SingleWaiter* const waiter = next_waiter(object);
        consume_for(object, waiter->thread);
        woken.add(*waiter);
    }
    for (GroupEntry* entry = object.link; entry != nullptr; entry = entry->next)
        entry->group->offer(object, *entry, woken);
}

static void restore_semaphore(SyncRecord& object, WakeList& woken) {
    auto& counted = object.u.counted;
    if (counted.count >= counted.maximum)
        return; // released to the brim since: as if the unit had been there then
    ++counted.count;
    distribute(object, woken);
}

static void restore_mutex(SyncRecord& object, pthread_t thread, WakeList& woken) {
    auto& counted = object.u.counted;
    if (counted.owner == 0 || !pthread_equal(counted.owner, thread))
        return; // somebody else has released it since
    ++counted.count;
    counted.owner = 0;
    distribute(object, woken);
}

void restore(SyncRecord& object, pthread_t thread, WakeList& woken) {
    if (object.closed)
        return;
    if (object.head.type == HT_SEMAPHORE)
        restore_semaphore(object, woken);
    else if (object.head.type == HT_MUTEX)
        restore_mutex(object, thread, woken);
    else if (object.manual_reset == 0)
        set_state(object, woken);
}

LONG drop_reference(SyncRecord& object, bool of_wait) {
    WakeList woken;
    const Guard held(object.guard);
    LONG left = 0;
    {
        const InterlockedSection counts;
        if (of_wait)
            --object.group_waits;
        left = --object.head.references;
    }
    if (left > 0) {
        for (GroupEntry* entry = object.link; entry != nullptr; entry = entry->next)
            entry->group->look_again_if_hopeless(woken);
    }
    return left;
}

bool retire(SyncRecord& object) {
    WakeList woken;
    const Guard held(object.guard);
    if (object.closed)
        return false;
    {
        const InterlockedSection counts;
        object.closed = true;
    }
    while (SingleWaiter* const waiter = next_waiter(object)) {
        waiter->turned_away = true;
        woken.add(*waiter);
    }
    for (GroupEntry* entry = object.link; entry != nullptr; entry = entry->next)
        entry->group->look_again(woken);
    return true;
}

static void destroy(SyncRecord& object) {
    if (object.head.type == HT_THREAD) {
        if (object.u.thread.id != 0 && !object.joined)
            pthread_detach(object.u.thread.id);
        pthread_cond_destroy(&object.start_condition);
        pthread_mutex_destroy(&object.start_mutex);
        free(object.owned);
    }
    sem_destroy(&object.signal);
    sem_destroy(&object.guard);
    LocalFree(&object);
}

// Under the guard, which is given back, or kept for good by the one who destroys the object.
static void destroy_or_give_back(SyncRecord& object) {
    // A link is left only if somebody closed more often than they may: the wait's own reference ends it then.
    if (object.doomed && object.pins == 0 && object.link == nullptr)
        destroy(object);
    else
        give_back(object.guard);
}

void unpin(SyncRecord& object) {
    --object.pins;
    destroy_or_give_back(object);
}

void abandon_memory(SyncRecord& object) {
    take(object.guard);
    object.doomed = true;
    destroy_or_give_back(object);
}

} // namespace kalto
