// The parts of a thread's life that its start function strings together.
#ifndef KALTO_KERNEL_THREAD_H
#define KALTO_KERNEL_THREAD_H

namespace kalto {

// Start functions for pthread_create; the argument is the thread's record, of which the thread holds a
// reference of its own.
void* start_thread(void* record);
void* start_suspended_thread(void* record);

// Blocks until ResumeThread has been called. A cancellation point.
void wait_until_resumed(void* record);

// Calls the start routine with the parameter and keeps its result in the parameter's place.
void run_start_routine(void* record);

// The thread object becomes signalled, and the thread's own reference is given back.
void thread_finished(void* record);

} // namespace kalto

#endif
