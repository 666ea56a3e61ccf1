// Mutexes. Their release is that of a semaphore: see semaphore.cpp.
#include "kernel/sync_object.h"

namespace kalto {

static void init_mutex(HandleRecord* record, void* argument) {
    auto& mutex = *reinterpret_cast<SyncRecord*>(record);
    const bool owned = *static_cast<const BOOL*>(argument) != FALSE;
    init_sync(mutex);
    mutex.u.counted.maximum = 1;
    mutex.u.counted.count = owned ? 0 : 1;
    mutex.u.counted.owner = owned ? pthread_self() : 0;
}

} // namespace kalto

HANDLE CreateMutex(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName) {
    UNREFERENCED_PARAMETER(lpMutexAttributes);
    kalto::HandleRecord* record = nullptr;
    kalto::create_record(HT_MUTEX, lpName, kalto::init_mutex, &bInitialOwner, &record);
    return record;
}

BOOL ReleaseMutex(HANDLE hMutex) {
    return KaltoReleaseSemaphore(hMutex, 1, nullptr);
}
