// _beginthread: a thread whose handle is closed at its end.
#include "porting/failure.h"

#include <cerrno>
#include <cstdlib>
#include <kalto/porting.h>
#include <semaphore.h>

using namespace kalto;

namespace {

struct Detached {
    void (*routine)(void*);
    void* argument;
    HANDLE handle;
    sem_t stored; // the handle is
};

thread_local Detached* detached = nullptr; // of the calling thread

void close_own_handle() {
    Detached* const own = detached;
    if (own == nullptr)
        return;
    detached = nullptr;
    while (sem_wait(&own->stored) != 0 && errno == EINTR) {
    }
    CloseHandle(own->handle);
    sem_destroy(&own->stored);
    std::free(own);
}

DWORD WINAPI run(LPVOID parameter) {
    detached = static_cast<Detached*>(parameter);
    detached->routine(detached->argument);
    close_own_handle();
    return 0;
}

UINT_PTR refuse(int error) {
    errno = error;
    return static_cast<UINT_PTR>(-1);
}

} // namespace

UINT_PTR _beginthread(void (*start)(void*), unsigned stack_size, void* argument) {
    if (start == nullptr)
        return refuse(EINVAL);
    auto* const own = static_cast<Detached*>(std::malloc(sizeof(Detached)));
    if (own == nullptr)
        return refuse(ENOMEM);
    own->routine = start;
    own->argument = argument;
    sem_init(&own->stored, 0, 0);
    HANDLE handle = CreateThread(nullptr, stack_size, run, own, 0, nullptr);
    if (handle == nullptr) {
        sem_destroy(&own->stored);
        std::free(own);
        return refuse(EAGAIN);
    }
    own->handle = handle;
    sem_post(&own->stored);
    return reinterpret_cast<UINT_PTR>(handle);
}

void _endthread(void) {
    close_own_handle();
    ExitThread(0);
    abort(); // not reached
}
