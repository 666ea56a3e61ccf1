#include "kernel/guard.h"

#include <pthread.h>

namespace kalto {

CancellationOff::CancellationOff() : before_(PTHREAD_CANCEL_ENABLE) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_);
}

CancellationOff::~CancellationOff() {
    pthread_setcancelstate(before_, nullptr);
}

void take_after_waiting(sem_t& lock) {
    const CancellationOff off;
    while (sem_wait(&lock) != 0) {
        // Interrupted by a signal: nobody gets in by that.
    }
}

} // namespace kalto
