// The system calls that threads are terminated in. Termination unwinds the stack, and our clean-up stands in
// destructors; but on ARM the C library has blocking calls that the unwinder cannot pass, and it then gives
// up on the whole stack. Called through these, it starts afresh below the call. (Compiled without exceptions:
// see the source file.)
#ifndef KALTO_KERNEL_CANCELLATION_POINT_H
#define KALTO_KERNEL_CANCELLATION_POINT_H

#include <pthread.h>
#include <semaphore.h>
#include <sys/types.h>
#include <time.h>

namespace kalto {

// sem_wait, or sem_timedwait with a deadline. Returns 0 or the errno value.
int blocking_wait(sem_t& semaphore, const timespec* deadline);

// pthread_join, pthread_cond_wait and waitpid.
int blocking_join(pthread_t thread, void** result);
void blocking_wait(pthread_cond_t& condition, pthread_mutex_t& mutex);
pid_t blocking_wait_for(pid_t child, int options);

} // namespace kalto

#endif
