// Compiled without exceptions, which makes pthread_cleanup_push a place that the C library itself returns to,
// and with unwind tables, so that the way on from here is open.
#include "kernel/cancellation_point.h"

#include <errno.h>
#include <sys/wait.h>

#ifdef __EXCEPTIONS
#error "compile with -fno-exceptions -funwind-tables"
#endif

namespace kalto {

static void nothing(void* /*unused*/) {}

int blocking_wait(sem_t& semaphore, const timespec* deadline) {
    int failed = 0;
    pthread_cleanup_push(nothing, nullptr);
    failed = deadline == nullptr ? sem_wait(&semaphore) : sem_timedwait(&semaphore, deadline);
    pthread_cleanup_pop(0);
    return failed == 0 ? 0 : errno;
}

int blocking_join(pthread_t thread, void** result) {
    int error = 0;
    pthread_cleanup_push(nothing, nullptr);
    error = pthread_join(thread, result);
    pthread_cleanup_pop(0);
    return error;
}

void blocking_wait(pthread_cond_t& condition, pthread_mutex_t& mutex) {
    pthread_cleanup_push(nothing, nullptr);
    pthread_cond_wait(&condition, &mutex);
    pthread_cleanup_pop(0);
}

pid_t blocking_wait_for(pid_t child, int options) {
    pid_t collected = 0;
    pthread_cleanup_push(nothing, nullptr);
    do {
        collected = waitpid(child, nullptr, options);
    } while (collected < 0 && errno == EINTR);
    pthread_cleanup_pop(0);
    return collected;
}

} // namespace kalto
