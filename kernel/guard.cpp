#include "kernel/guard.h"

#include <pthread.h>

namespace kalto {

CancellationOff::CancellationOff() : before_(PTHREAD_CANCEL_ENABLE) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_);
}

CancellationOff::~CancellationOff() {
    pthread_setcancelstate(before_, nullptr);
}

void take(sem_t& lock) {
    // Unlike sem_wait, sem_trywait is no cancellation point, so the usual case needs no more than this.
    if (sem_trywait(&lock) != 0) {
        const CancellationOff off;
        while (sem_wait(&lock) != 0) {
            // Interrupted by a signal: nobody gets in by that.
        }
    }
    note_taken(lock);
}

} // namespace kalto
