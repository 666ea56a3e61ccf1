// Threads of the C run-time library, and what is known of a thread.
#include "kernel/guard.h"
#include "kernel/handle_record.h"
#include "porting/failure.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <kalto/porting.h>
#include <sys/resource.h>

using namespace kalto;

namespace {

struct Start {
    unsigned(WINAPI* routine)(void*);
    void* argument;
};

// Ends with ExitThread, because the result of a thread's routine is not its exit code. The parameter is the
// record's to free: a thread that is terminated before its start never comes here.
DWORD WINAPI run(LPVOID parameter) {
    const Start& start = *static_cast<const Start*>(parameter);
    ExitThread(start.routine(start.argument));
    return 0;
}

SyncRecord* thread_of(HANDLE handle) {
    SyncRecord* const object = sync_record_of(handle);
    return object != nullptr && object->head.type == HT_THREAD ? object : nullptr;
}

void store_ticks(LPFILETIME time, ULONGLONG ticks) {
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

ULONGLONG ticks_of(time_t seconds, long nanoseconds) {
    return static_cast<ULONGLONG>(seconds) * 10000000 + static_cast<ULONGLONG>(nanoseconds) / 100;
}

struct Usage {
    ULONGLONG kernel;
    ULONGLONG user;
};

bool own_usage(Usage& usage) {
    struct rusage own {};
    if (getrusage(RUSAGE_THREAD, &own) != 0)
        return false;
    usage.kernel = ticks_of(own.ru_stime.tv_sec, own.ru_stime.tv_usec * 1000);
    usage.user = ticks_of(own.ru_utime.tv_sec, own.ru_utime.tv_usec * 1000);
    return true;
}

bool usage_of(SyncRecord& thread, Usage& usage) {
    const Guard held(thread.guard);
    clockid_t clock = 0;
    timespec used = {};
    if (thread.closed || thread.joined || thread.state != 0 ||
        pthread_getcpuclockid(thread.u.thread.id, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return false;
    usage = {0, ticks_of(used.tv_sec, used.tv_nsec)};
    return true;
}

bool read_usage(HANDLE handle, Usage& usage) {
    if (handle == nullptr)
        return own_usage(usage);
    SyncRecord* const thread = thread_of(handle);
    return thread != nullptr && usage_of(*thread, usage);
}

} // namespace

UINT_PTR _beginthreadex(void* /*security*/, unsigned stack_size, unsigned(WINAPI* start)(void*),
                        void* argument, unsigned flags, unsigned* thread_id) {
    auto* const parameter = static_cast<Start*>(std::malloc(sizeof(Start)));
    if (start == nullptr || parameter == nullptr) {
        std::free(parameter);
        errno = start == nullptr ? EINVAL : ENOMEM;
        return 0;
    }
    *parameter = {start, argument};
    // The id is not asked for here: that would make a real-time thread of it.
    HANDLE thread = CreateThread(nullptr, stack_size, run, parameter, flags, nullptr);
    if (thread == nullptr) {
        std::free(parameter);
        errno = EAGAIN;
        return 0;
    }
    thread_of(thread)->owned = parameter;
    if (thread_id != nullptr)
        *thread_id = static_cast<unsigned>(GetThreadId(thread));
    return reinterpret_cast<UINT_PTR>(thread);
}

void _endthreadex(unsigned exit_code) {
    ExitThread(exit_code);
    abort(); // not reached
}

DWORD GetThreadId(HANDLE hThread) {
    if (hThread == nullptr)
        return GetCurrentThreadId();
    SyncRecord* const thread = thread_of(hThread);
    return thread != nullptr ? static_cast<DWORD>(thread->u.thread.id) : fail(ERROR_INVALID_HANDLE, DWORD{0});
}

BOOL GetThreadTimes(HANDLE hThread, LPFILETIME lpCreationTime, LPFILETIME lpExitTime, LPFILETIME lpKernelTime,
                    LPFILETIME lpUserTime) {
    if (lpCreationTime == nullptr || lpExitTime == nullptr || lpKernelTime == nullptr ||
        lpUserTime == nullptr)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    Usage usage = {};
    if (!read_usage(hThread, usage))
        return fail(ERROR_INVALID_HANDLE, FALSE);
    store_ticks(lpCreationTime, 0);
    store_ticks(lpExitTime, 0);
    store_ticks(lpKernelTime, usage.kernel);
    store_ticks(lpUserTime, usage.user);
    return TRUE;
}

DWORD SleepEx(DWORD dwMilliseconds, BOOL /*bAlertable*/) {
    Sleep(dwMilliseconds);
    return 0;
}
