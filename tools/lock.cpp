// The registry's lock, seen from outside.
#include "tools/kaltoreg.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <semaphore.h>

namespace kaltoreg {
namespace {

constexpr char kLockName[] = "zel_registry_lock";
constexpr time_t kPatience = 3; // seconds; no registry call of a healthy process takes that long

// Takes the lock if it becomes free in time. 0, or the errno.
int take(sem_t* lock, time_t seconds) {
    struct timespec deadline;
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += seconds;
    while (sem_timedwait(lock, &deadline) != 0)
        if (errno != EINTR)
            return errno;
    return 0;
}

} // namespace

void wait_for_lock(const Streams& streams) {
    sem_t* lock = sem_open(kLockName, 0);
    if (lock == SEM_FAILED)
        return; // the library makes it
    if (take(lock, kPatience) == ETIMEDOUT) {
        fputs("kaltoreg: waiting for the registry's lock; 'kaltoreg unlock' tells more\n", streams.err);
        while (sem_wait(lock) != 0 && errno == EINTR) {
        }
    }
    sigset_t ending;
    sigemptyset(&ending);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    sem_post(lock);
    sem_close(lock);
}

Status unlock(const Arguments& arguments, const Streams& streams) {
    const bool force = !arguments.empty();
    if (force && arguments[0] != "--force") {
        fprintf(streams.err, "kaltoreg: unlock: unknown option %s\n", arguments[0].c_str());
        return kFailed;
    }
    sem_t* lock = sem_open(kLockName, 0);
    if (lock == SEM_FAILED && errno == ENOENT) {
        fputs("free: no process has used the registry since the system started\n", streams.out);
        return kDone;
    }
    if (lock == SEM_FAILED) {
        fprintf(streams.err, "kaltoreg: the lock %s cannot be opened: %s\n", kLockName, strerror(errno));
        return kFailed;
    }
    Status status = kDone;
    int value = 0;
    if (take(lock, kPatience) == 0) {
        // More than one process at a time would be let in.
        while (sem_getvalue(lock, &value) == 0 && value > 0 && force && sem_trywait(lock) == 0)
            fputs("took back a lock that was freed too often\n", streams.out);
        sem_post(lock);
        fputs(value > 0 && !force ? "freed too often: 'kaltoreg unlock --force' repairs it\n" : "free\n",
              streams.out);
        status = value > 0 && !force ? kNo : kDone;
    } else if (force) {
        sem_post(lock);
        fputs("was held for seconds; freed\n", streams.out);
    } else {
        fprintf(streams.out,
                "held for more than %d seconds. If no process is busy with the registry, one has died in "
                "it: 'kaltoreg unlock --force' frees the lock.\n",
                static_cast<int>(kPatience));
        status = kNo;
    }
    sem_close(lock);
    return status;
}

} // namespace kaltoreg
