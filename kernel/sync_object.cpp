#include "kernel/sync_object.h"

#include "kernel/guard.h"
#include <kalto/system.h>

namespace kalto {

bool retire(SyncRecord& object) {
    const Guard held(object.guard);
    const bool first = !object.closed;
    object.closed = true;
    return first;
}

static void destroy(SyncRecord& object) {
    if (object.head.type == HT_THREAD && object.u.thread.id != 0 && !object.joined)
        pthread_detach(object.u.thread.id);
    sem_destroy(&object.signal);
    sem_destroy(&object.guard);
    LocalFree(&object);
}

void abandon_memory(SyncRecord& object) {
    take(object.guard);
    object.doomed = true;
    if (object.pins != 0) {
        give_back(object.guard);
        return;
    }
    // The guard is kept.
    destroy(object);
}

} // namespace kalto
