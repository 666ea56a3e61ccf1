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
    g_faults = {true, fault, error, at, 0};
}

bool heal() {
    g_faults.armed = false;
    return g_faults.count >= g_faults.at;
}

namespace {

enum class Call { reads, writes };

// Counts a call; true when it is to fail, with errno set.
bool hit(Call call) {
    if (!g_faults.armed)
        return false;
    const bool now = ++g_faults.count == g_faults.at;
    if (now && g_faults.fault == Fault::kill)
        raise(SIGKILL);
    if (now && g_faults.fault == Fault::cancel)
        pthread_cancel(pthread_self());
    errno = g_faults.error;
    return (now && g_faults.fault == Fault::fail) ||
           (g_faults.fault == Fault::fail_forever && g_faults.count >= g_faults.at && call == Call::writes);
}

template <typename Function> Function* real(const char* name, Function* /*type*/) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define INTERPOSED extern "C" __attribute__((visibility("default")))
#define REAL(name) real(#name, &name)

INTERPOSED int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return hit((flags & O_CREAT) != 0 ? Call::writes : Call::reads) ? -1 : REAL(open)(path, flags, mode);
}

INTERPOSED int close(int fd) {
    // What failing would leave open is closed all the same, as the system does it.
    const bool fails = hit(Call::reads);
    const int error = errno;
    const int result = REAL(close)(fd);
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

INTERPOSED ssize_t read(int fd, void* buffer, size_t size) {
    return hit(Call::reads) ? -1 : REAL(read)(fd, buffer, size);
}

INTERPOSED ssize_t write(int fd, const void* buffer, size_t size) {
    if (hit(Call::writes))
        return -1;
    const bool half = g_faults.armed && g_faults.fault == Fault::half && g_faults.count == g_faults.at;
    return REAL(write)(fd, buffer, half ? size / 2 : size);
}

INTERPOSED int fsync(int fd) {
    return hit(Call::writes) ? -1 : REAL(fsync)(fd);
}

INTERPOSED int rename(const char* from, const char* to) noexcept {
    return hit(Call::writes) ? -1 : REAL(rename)(from, to);
}

INTERPOSED int unlink(const char* path) noexcept {
    return hit(Call::writes) ? -1 : REAL(unlink)(path);
}

INTERPOSED int stat(const char* path, struct stat* status) noexcept {
    return hit(Call::reads) ? -1 : REAL(stat)(path, status);
}

INTERPOSED int fstat(int fd, struct stat* status) noexcept {
    return hit(Call::reads) ? -1 : REAL(fstat)(fd, status);
}

INTERPOSED int utimensat(int folder, const char* path, const struct timespec* times, int flags) noexcept {
    return hit(Call::writes) ? -1 : REAL(utimensat)(folder, path, times, flags);
}

INTERPOSED int sem_wait(sem_t* semaphore) {
    return hit(Call::reads) ? -1 : REAL(sem_wait)(semaphore);
}
