// Critical sections: one semaphore each, with the owner noted beside it.
//
// Owner and count are also looked at by threads that do not hold the lock, so they are read and written as
// single words (relaxed: plain loads and stores). Only the calling thread itself can have stored its own id,
// which is why the comparison with it is reliable.
#include "kernel/critical_section.h"

#include "kernel/cancellation_point.h"
#include "kernel/guard.h"
#include <errno.h>

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(CRITICAL_SECTION) == 24 && offsetof(CRITICAL_SECTION, RecursionCount) == 4 &&
                  offsetof(CRITICAL_SECTION, LockSemaphore) == 8,
              "the layout that applications of the device were built with");
#endif

namespace kalto {

static void set_owner(CRITICAL_SECTION& section, pthread_t owner) {
    __atomic_store_n(&section.OwningThread, owner, __ATOMIC_RELAXED);
}

static DWORD count_of(const CRITICAL_SECTION& section) {
    return __atomic_load_n(&section.RecursionCount, __ATOMIC_RELAXED);
}

static void set_count(CRITICAL_SECTION& section, DWORD count) {
    __atomic_store_n(&section.RecursionCount, count, __ATOMIC_RELAXED);
}

static void now_owned(CRITICAL_SECTION& section) {
    note_taken(section.LockSemaphore);
    set_owner(section, pthread_self());
    set_count(section, 1);
}

static bool entered_again(CRITICAL_SECTION& section) {
    const DWORD count = count_of(section);
    if (count == 0 || __atomic_load_n(&section.OwningThread, __ATOMIC_RELAXED) != pthread_self())
        return false;
    set_count(section, count + 1);
    return true;
}

bool try_enter(CRITICAL_SECTION& section) {
    if (sem_trywait(&section.LockSemaphore) != 0)
        return entered_again(section);
    now_owned(section);
    return true;
}

void enter_uncancelled(CRITICAL_SECTION& section) {
    if (try_enter(section))
        return;
    take(section.LockSemaphore);
    now_owned(section);
}

// A thread that is terminated while it blocks may have swallowed the wake-up of a leave; the next in line
// gets it.
struct PassOnWakeUp {
    sem_t& lock;
    bool armed;
    ~PassOnWakeUp() {
        if (armed && sem_trywait(&lock) == 0)
            sem_post(&lock);
    }
};

static void block_on(sem_t& lock) {
    PassOnWakeUp if_terminated{lock, true};
    while (blocking_wait(lock, nullptr) != 0) {
        // Interrupted by a signal: nobody gets in by that.
    }
    if_terminated.armed = false;
}

} // namespace kalto

void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    lpCriticalSection->OwningThread = 0;
    lpCriticalSection->RecursionCount = 0;
    if (sem_init(&lpCriticalSection->LockSemaphore, 0, 1) == 0)
        errno = 0;
}

DWORD EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    CRITICAL_SECTION& section = *lpCriticalSection;
    if (kalto::try_enter(section))
        return 1;
    kalto::block_on(section.LockSemaphore);
    kalto::now_owned(section);
    return 1;
}

void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    CRITICAL_SECTION& section = *lpCriticalSection;
    kalto::set_count(section, kalto::count_of(section) - 1);
    kalto::set_owner(section, 0);
    // Deliberate: posted on every leave, the inner one of a nested pair included; applications of the device
    // leave nested sections in ways that need it.
    kalto::give_back(section.LockSemaphore);
}
