// The machine-wide lock. It is the only lock of the registry, and nothing else is taken while it is held but
// what the C library takes. The semaphore is opened once and kept for the life of the process.
#include "registry/store.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <kalto/registry.h>
#include <semaphore.h>
#include <syslog.h>

namespace {

// Two threads that open it at once get the same address.
std::atomic<sem_t*> g_regLock{nullptr};

sem_t* registry_lock() {
    sem_t* lock = g_regLock.load(std::memory_order_acquire);
    if (lock != nullptr)
        return lock;
    lock = sem_open(kalto::kLockName, O_CREAT, 0644, 1);
    if (lock == SEM_FAILED)
        return nullptr;
    g_regLock.store(lock, std::memory_order_release);
    return lock;
}

} // namespace

int LockRegistry(void) {
    sem_t* lock = registry_lock();
    if (lock == nullptr) {
        syslog(LOG_ERR, "Failed to obtain registry lock (%i)", errno);
        return 0;
    }
    while (sem_wait(lock) != 0)
        if (errno != EINTR) {
            syslog(LOG_ERR, "Failed to obtain registry lock (%i)", errno);
            return 0;
        }
    return 1;
}

void UnlockRegistry(void) {
    sem_t* lock = g_regLock.load(std::memory_order_acquire);
    if (lock != nullptr)
        sem_post(lock);
}
