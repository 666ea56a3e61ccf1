// Semaphores, and the release that they share with mutexes.
#include "kernel/guard.h"
#include "kernel/sync_object.h"

namespace kalto {

struct SemaphoreArguments {
    LONG initial_count;
    LONG maximum_count;
};

static void init_counted(HandleRecord* record, void* argument) {
    auto& semaphore = *reinterpret_cast<SyncRecord*>(record);
    const auto& arguments = *static_cast<const SemaphoreArguments*>(argument);
    init_sync(semaphore);
    semaphore.u.counted.maximum = arguments.maximum_count;
    semaphore.u.counted.count = arguments.initial_count;
}

static SyncRecord* counted_of(HANDLE handle) {
    SyncRecord* const object = sync_record_of(handle);
    const bool counted =
        object != nullptr && (object->head.type == HT_MUTEX || object->head.type == HT_SEMAPHORE);
    return counted ? object : nullptr;
}

// Deliberate: saturates at the maximum instead of failing, so a release too many does no harm; applications
// release "up to the brim". The counts are unchecked, so the arithmetic wraps.
static LONG raised(LONG count, LONG maximum, LONG by) {
    const auto room = static_cast<LONG>(static_cast<ULONG>(maximum) - static_cast<ULONG>(count));
    return static_cast<LONG>(static_cast<ULONG>(count) + static_cast<ULONG>(by < room ? by : room));
}

} // namespace kalto

HANDLE CreateSemaphore(LPSECURITY_ATTRIBUTES lpSemaphoreAttributes, LONG lInitialCount, LONG lMaximumCount,
                       LPCWSTR lpName) {
    UNREFERENCED_PARAMETER(lpSemaphoreAttributes);
    kalto::SemaphoreArguments arguments{lInitialCount, lMaximumCount};
    kalto::HandleRecord* record = nullptr;
    kalto::create_record(HT_SEMAPHORE, lpName, kalto::init_counted, &arguments, &record);
    return record;
}

BOOL KaltoReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, LPLONG lpPreviousCount) {
    pthread_testcancel();
    kalto::SyncRecord* const object = kalto::counted_of(hSemaphore);
    if (object == nullptr)
        return FALSE;
    kalto::WakeList woken;
    const kalto::Guard held(object->guard);
    if (object->closed)
        return FALSE;
    auto& counted = object->u.counted;
    if (lpPreviousCount != nullptr)
        *lpPreviousCount = counted.count;
    counted.count = kalto::raised(counted.count, counted.maximum, lReleaseCount);
    if (counted.count <= 0)
        return TRUE;
    if (object->head.type == HT_MUTEX)
        counted.owner = 0;
    kalto::distribute(*object, woken);
    return TRUE;
}
