// The start functions of threads.
//
// Compiled without exceptions: that makes pthread_cleanup_push the kind that the C library itself returns to
// when a thread is terminated. The other kind is a destructor, and the unwinder never comes to it when the
// application's routine lies between and was compiled without unwind tables, as plain C is on ARM.
#include "kernel/thread.h"

#include <kalto/core.h>
#include <pthread.h>

#ifdef __EXCEPTIONS
#error "compile with -fno-exceptions"
#endif

namespace kalto {

static void* run_thread(void* record, bool suspended) {
    InstallSignalHandlers();
    pthread_cleanup_push(thread_finished, record);
    if (suspended)
        wait_until_resumed(record);
    run_start_routine(record);
    pthread_cleanup_pop(1);
    // Deliberate: 0 whatever the routine returned; only ExitThread gives a thread an exit code.
    return nullptr;
}

void* start_thread(void* record) {
    return run_thread(record, false);
}

void* start_suspended_thread(void* record) {
    return run_thread(record, true);
}

} // namespace kalto
