// What events, mutexes, semaphores and threads have in common.
#ifndef KALTO_KERNEL_SYNC_OBJECT_H
#define KALTO_KERNEL_SYNC_OBJECT_H

#include "kernel/handle_record.h"

namespace kalto {

// Closes the object for good: every call refuses it from now on, and whoever is blocked on it is turned away.
// False when it had been closed before. Takes the guard.
bool retire(SyncRecord& object);

// Nobody is left to close the object: frees it now, or when the last thread inside has left. Takes the guard.
void abandon_memory(SyncRecord& object);

} // namespace kalto

#endif
