#include "faults.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

Faults g_faults;

void inject(Fault fault, int at, int error) {
    g_faults = {true, fault, error, at, 0, "", ""};
}

bool heal() {
    g_faults.armed = false;
    return g_faults.count >= g_faults.at;
}

namespace {

enum class Call { reads, writes };

// Counts a call; true when it is to fail, with errno set.
bool hit(const char* name, Call call, bool waits = true) {
    if (!g_faults.armed)
        return false;
    if (call == Call::writes)
        g_faults.writes.append(name).append(" ");
    const bool now = ++g_faults.count == g_faults.at;
    if (now && call == Call::writes)
        g_faults.hit = g_faults.writes;
    if (now && g_faults.fault == Fault::kill)
        raise(SIGKILL);
    if (now && g_faults.fault == Fault::cancel)
        pthread_cancel(pthread_self());
    errno = g_faults.error;
    if (now && g_faults.fault == Fault::interrupt)
        return waits;
    return (now && g_faults.fault == Fault::fail) ||
           (g_faults.fault == Fault::fail_forever && g_faults.count >= g_faults.at && call == Call::writes);
}

template <typename Function> Function* real(const char* name, Function* /*type*/) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define INTERPOSED extern "C" __attribute__((visibility("default")))
#define REAL(name) real(#name, &name)
// A function in front of the C library's, which counts and does nothing else.
#define COUNTED(call, waits, result, name, parameters, ...)                                                  \
    INTERPOSED result name parameters {                                                                      \
        return hit(#name, call, waits) ? -1 : REAL(name)(__VA_ARGS__);                                       \
    }

INTERPOSED int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return hit("open", (flags & O_CREAT) != 0 ? Call::writes : Call::reads) ? -1
                                                                            : REAL(open)(path, flags, mode);
}

INTERPOSED int close(int fd) {
    // What failing would leave open is closed all the same, as the system does it.
    const bool fails = hit("close", Call::reads);
    const int error = errno;
    const int result = REAL(close)(fd);
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

INTERPOSED ssize_t write(int fd, const void* buffer, size_t size) {
    if (hit("write", Call::writes))
        return -1;
    const bool half = g_faults.armed && g_faults.fault == Fault::half && g_faults.count == g_faults.at;
    return REAL(write)(fd, buffer, half ? size / 2 : size);
}

COUNTED(Call::reads, true, ssize_t, read, (int fd, void* buffer, size_t size), fd, buffer, size)
COUNTED(Call::reads, false, int, stat, (const char* path, struct stat* status) noexcept, path, status)
COUNTED(Call::reads, false, int, fstat, (int fd, struct stat* status) noexcept, fd, status)
COUNTED(Call::reads, true, int, sem_wait, (sem_t * semaphore), semaphore)
COUNTED(Call::writes, true, int, fsync, (int fd), fd)
COUNTED(Call::writes, true, int, sync_file_range, (int fd, off64_t from, off64_t size, unsigned flags), fd,
        from, size, flags)
COUNTED(Call::writes, false, int, rename, (const char* from, const char* to) noexcept, from, to)
COUNTED(Call::writes, false, int, unlink, (const char* path) noexcept, path)
COUNTED(Call::writes, false, int, utimensat,
        (int at, const char* path, const timespec* times, int flags) noexcept, at, path, times, flags)
