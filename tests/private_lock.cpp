// For programs of the tests that use the registry as an application does: gives them a lock of their own, so
// that they neither wait for the machine's nor leave it taken. It has no name any more as soon as it is open.
// The first registry call must be made by one thread alone; processes share the lock when they are forked
// after it.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <kalto/types.h>
#include <semaphore.h>
#include <unistd.h>

extern "C" KALTO_API sem_t* sem_open(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    const unsigned value = va_arg(arguments, unsigned);
    va_end(arguments);
    static const auto real =
        reinterpret_cast<sem_t* (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "sem_open"));
    char own[200];
    snprintf(own, sizeof own, "%s_%ld", name, static_cast<long>(getpid()));
    sem_t* lock = real(own, flags, mode, value);
    if (lock != SEM_FAILED)
        sem_unlink(own);
    return lock;
}

// The library must find the function above, or it would use the machine's lock after all.
__attribute__((constructor)) static void expect_to_be_found() {
    if (dlsym(RTLD_DEFAULT, "sem_open") != reinterpret_cast<void*>(&sem_open)) {
        fputs("private_lock: sem_open is another one\n", stderr);
        abort();
    }
}
