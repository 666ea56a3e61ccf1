// KaltoWaitForSingleObject.
#include "kernel/wait_single.h"

#include "kernel/deadline.h"
#include "kernel/guard.h"
#include "kernel/process.h"
#include "kernel/sync_object.h"
#include <kalto/system.h>

namespace kalto {

bool waitable(HANDLE handle) {
    return sync_record_of(handle) != nullptr || process_record_of(handle) != nullptr ||
           find_record_of(handle) != nullptr;
}

// Under the guard: the result of a wait that need not block, or 0.
static DWORD result_at_once(SyncRecord& object, DWORD milliseconds) {
    if (object.closed)
        return WAIT_FAILED;
    // Who waits matters to mutexes alone.
    const pthread_t self = object.head.type == HT_MUTEX ? pthread_self() : pthread_t{};
    if (signalled_for(object, self)) {
        consume_for(object, self);
        return WAIT_OBJECT_0;
    }
    return milliseconds == 0 ? WAIT_TIMEOUT : 0;
}

static DWORD wait_for_object(SyncRecord& object, DWORD milliseconds) {
    take(object.guard);
    const DWORD at_once = result_at_once(object, milliseconds);
    if (at_once != 0) {
        give_back(object.guard);
        return at_once;
    }
    const Deadline deadline(milliseconds);
    const DWORD error = block(object, deadline.get(),
                              milliseconds == INFINITE ? Interruption::kReturned : Interruption::kRetried);
    return error == 0 ? WAIT_OBJECT_0 : error;
}

DWORD wait_for(HANDLE handle, DWORD milliseconds) {
    if (SyncRecord* const object = sync_record_of(handle))
        return wait_for_object(*object, milliseconds);
    if (ProcessRecord* const process = process_record_of(handle)) {
        wait_for_child(*process);
        return WAIT_OBJECT_0;
    }
    if (find_record_of(handle) == nullptr)
        return WAIT_FAILED;
    // Deliberate: a change notification is never reported; applications poll in the rhythm of the time-out.
    Sleep(milliseconds);
    return WAIT_TIMEOUT;
}

} // namespace kalto

DWORD KaltoWaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    pthread_testcancel();
    return kalto::wait_for(hHandle, dwMilliseconds);
}
