// Sleeping, and the tick count.
#include <errno.h>
#include <kalto/kernel.h>
#include <kalto/system.h>
#include <pthread.h>
#include <semaphore.h>
#include <time.h>

namespace kalto {

// Waits for a semaphore that nobody posts, until the deadline or for ever. Nothing is allocated, so a thread
// that is terminated in here leaves nothing behind.
static void wait_for_nothing(const timespec* deadline) {
    sem_t never;
    sem_init(&never, 0, 0);
    int error = 0;
    do {
        error = (deadline == nullptr ? sem_wait(&never) : sem_timedwait(&never, deadline)) == 0 ? 0 : errno;
    } while (deadline == nullptr || (error != 0 && error == WSAEINTR));
    sem_destroy(&never);
}

static DWORD milliseconds_since_the_first_call() {
    static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    static bool begun = false;
    static timespec base;
    timespec now{};
    pthread_mutex_lock(&lock);
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (!begun)
        base = now;
    begun = true;
    const int64_t seconds = static_cast<int64_t>(now.tv_sec) - base.tv_sec;
    const int64_t nanoseconds = static_cast<int64_t>(now.tv_nsec) - base.tv_nsec;
    pthread_mutex_unlock(&lock);
    return static_cast<DWORD>(seconds * 1000 + nanoseconds / 1000000);
}

} // namespace kalto

void Sleep(DWORD dwMilliseconds) {
    pthread_testcancel();
    if (dwMilliseconds == 0)
        return; // Deliberate: does not yield.
    if (dwMilliseconds == INFINITE)
        kalto::wait_for_nothing(nullptr);
    timespec deadline{};
    GetTimeOutTime(&deadline, dwMilliseconds);
    kalto::wait_for_nothing(&deadline);
}

DWORD GetTickCount(void) {
    return kalto::milliseconds_since_the_first_call();
}
