#include "kernel/guard.h"
#include "kernel/handle_record.h"
#include "tests/kernel/sleeper.h"
#include "tests/kernel/without_unwind_tables.h"

#include <atomic>
#include <dirent.h>
#include <gtest/gtest.h>
#include <kalto/system.h>
#include <sched.h>
#include <sys/wait.h>
#include <time.h>

using namespace kalto_test;

namespace {

constexpr DWORD kStillActive = STILL_ACTIVE;

HANDLE start(LPTHREAD_START_ROUTINE routine, LPVOID parameter = nullptr, DWORD flags = 0) {
    return CreateThread(nullptr, 0, routine, parameter, flags, nullptr);
}

LONG references(HANDLE handle) {
    return InterlockedExchangeAdd(&kalto::record_of(handle)->references, 0);
}

bool pinned(HANDLE handle) {
    kalto::SyncRecord& object = *kalto::sync_record_of(handle);
    const kalto::Guard held(object.guard);
    return object.pins != 0;
}

int threads_of_this_process() {
    int count = 0;
    DIR* const tasks = opendir("/proc/self/task");
    while (const dirent* const entry = readdir(tasks))
        count += entry->d_name[0] == '.' ? 0 : 1;
    closedir(tasks);
    return count;
}

DWORD wait_for_the_event(LPVOID event) {
    return WaitForSingleObject(event, INFINITE);
}

TEST(Thread, RunsWithItsParameterAndEndsSignalledWithCodeZero) {
    static std::atomic<LPVOID> seen{nullptr};
    int parameter = 0;
    DWORD id = 0;
    const Handle thread(CreateThread(
        nullptr, 0,
        [](LPVOID p) -> DWORD {
            seen = p;
            return 42;
        },
        &parameter, 0, &id));
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(seen, &parameter);
    EXPECT_EQ(id, static_cast<DWORD>(kalto::sync_record_of(thread)->u.thread.id));
    EXPECT_EQ(kalto::sync_record_of(thread)->u.thread.word, 42u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0}) << "it stays signalled";
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 0u) << "deliberate: not what the routine returned";
    EXPECT_FALSE(GetExitCodeThread(thread, &code)) << "once";
    EXPECT_FALSE(TerminateThread(thread, 0));
}

TEST(Thread, IsNeverCalledStillActiveOnceAWaitForItHasSucceeded) {
    for (DWORD i = 0; i < 500 / KALTO_TEST_TIME_FACTOR; ++i) {
        const Handle thread(start(
            [](LPVOID p) -> DWORD {
                ExitThread(static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(p)));
                return 0;
            },
            reinterpret_cast<LPVOID>(ULONG_PTR{i})));
        ASSERT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
        DWORD code = 0;
        ASSERT_TRUE(GetExitCodeThread(thread, &code));
        ASSERT_EQ(code, i);
    }
}

TEST(Thread, IsStillActiveWhileItRuns) {
    const Handle go(make_event(false));
    const Handle thread(start(wait_for_the_event, go));
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, kStillActive);
    EXPECT_EQ(references(thread), 2);
    SetEvent(go);
    WaitForSingleObject(thread, INFINITE);
}

TEST(Thread, HasAStackOfTheSizeAskedForAndAtLeast64K) {
    for (const DWORD size : {0u, 1u, 65536u, 300000u}) {
        static std::atomic<size_t> found{0};
        const Handle thread(CreateThread(
            nullptr, size,
            [](LPVOID) -> DWORD {
                pthread_attr_t attributes;
                pthread_getattr_np(pthread_self(), &attributes);
                size_t bytes = 0;
                pthread_attr_getstacksize(&attributes, &bytes);
                found = bytes;
                pthread_attr_destroy(&attributes);
                return 0;
            },
            nullptr, 0, nullptr));
        WaitForSingleObject(thread, INFINITE);
        const size_t least = size < 65536 ? 65536 : size;
        EXPECT_GE(found + 4096, least) << size; // the system reports whole pages
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
        EXPECT_LE(found, least + 4096) << size;
#endif
    }
}

TEST(SuspendedThread, StartsWithResumeThreadAfterFiveSeconds) {
    static std::atomic<bool> started{false};
    const Handle thread(start(
        [](LPVOID) -> DWORD {
            started = true;
            return 0;
        },
        nullptr, CREATE_SUSPENDED));
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    EXPECT_EQ(WaitForSingleObject(thread, 50), DWORD{WAIT_TIMEOUT});
    EXPECT_FALSE(started);
    EXPECT_EQ(ResumeThread(thread), 0u);
    clock_gettime(CLOCK_MONOTONIC, &after);
    const double took = static_cast<double>(after.tv_sec - before.tv_sec) +
                        static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
    EXPECT_GE(took, 5.0);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(started);
}

TEST(SuspendedThread, TerminatedBeforeItWasResumedBecomesSignalled) {
    const Handle thread(start(wait_for_the_event, nullptr, CREATE_SUSPENDED));
    EXPECT_TRUE(TerminateThread(thread, 7));
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(references(thread), 1);
    DWORD code = 0;
    EXPECT_FALSE(GetExitCodeThread(thread, &code)) << "the termination has joined it";
}

TEST(TerminateThread, EndsAThreadInEveryBlockingCall) {
    struct Case {
        const char* what;
        LPTHREAD_START_ROUTINE block;
    };
    static const HANDLE event = make_event(false);
    static CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    const Case cases[] = {
        {"single wait", [](LPVOID) -> DWORD { return WaitForSingleObject(event, INFINITE); }},
        {"timed wait", [](LPVOID) -> DWORD { return WaitForSingleObject(event, 600000); }},
        {"group wait", [](LPVOID) -> DWORD { return WaitForMultipleObjects(1, &event, FALSE, INFINITE); }},
        {"Sleep",
         [](LPVOID) -> DWORD {
             Sleep(INFINITE);
             return 0;
         }},
        {"critical section", [](LPVOID) -> DWORD { return EnterCriticalSection(&section); }},
        {"polling",
         [](LPVOID) -> DWORD {
             while (WaitForSingleObject(event, 0) == WAIT_TIMEOUT) {
             }
             return 0;
         }},
        {"signalling",
         [](LPVOID) -> DWORD {
             while (ResetEvent(event)) {
             }
             return 0;
         }},
        {"a routine without unwind tables", wait_without_unwind_tables},
    };
    for (const Case& c : cases) {
        const Handle thread(start(c.block, event));
        EXPECT_TRUE(TerminateThread(thread, 1)) << c.what;
        EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0}) << c.what;
        EXPECT_EQ(references(thread), 1) << c.what;
    }
    EXPECT_EQ(references(event), 1);
    CloseHandle(event);
}

TEST(TerminateThread, CalledByTheThreadOnItselfEndsIt) {
    static std::atomic<bool> survived{false};
    static std::atomic<HANDLE> self{nullptr};
    static const HANDLE known = make_event(false);
    const Handle thread(start([](LPVOID) -> DWORD {
        WaitForSingleObject(known, INFINITE);
        TerminateThread(self, 0);
        survived = true;
        return 0;
    }));
    self = thread;
    SetEvent(known);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_FALSE(survived);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 0xFFFFFFFFu);
    CloseHandle(known);
}

TEST(TerminateThread, OfAThreadThatIsJoiningAnotherLeavesThatJoinable) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer cannot cope with a thread that is terminated inside pthread_join";
#endif
    const Handle go(make_event(false));
    const Handle worker(start(wait_for_the_event, go));
    // Its exit code is waited for although it runs: only its own reference is left.
    auto* const record = kalto::record_of(worker);
    InterlockedDecrement(&record->references);
    const Handle joiner(start(
        [](LPVOID handle) -> DWORD {
            DWORD code = 0;
            return static_cast<DWORD>(GetExitCodeThread(handle, &code));
        },
        worker));
    while (!pinned(worker))
        usleep(500);
    EXPECT_TRUE(TerminateThread(joiner, 0));
    InterlockedIncrement(&record->references);
    SetEvent(go);
    EXPECT_EQ(WaitForSingleObject(worker, INFINITE), DWORD{WAIT_OBJECT_0});
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeThread(worker, &code));
    EXPECT_EQ(code, 0u);
}

TEST(Thread, AThousandCreatedWaitedForAndClosedLeakNothing) {
    const HANDLE first = start([](LPVOID) -> DWORD { return 0; });
    DWORD code = 0;
    WaitForSingleObject(first, INFINITE);
    GetExitCodeThread(first, &code); // it is gone, and what a sanitizer starts with the first thread is there
    CloseHandle(first);
    const int before = threads_of_this_process();
    for (int i = 0; i < 1000 / KALTO_TEST_TIME_FACTOR; ++i) {
        const HANDLE thread = start([](LPVOID) -> DWORD { return 0; });
        ASSERT_NE(thread, nullptr) << i;
        if (i % 2 == 0) {
            WaitForSingleObject(thread, INFINITE);
        }
        CloseHandle(thread); // before its end or after: the last one to leave frees the record
    }
    for (int tries = 0; threads_of_this_process() > before && tries < 20000; ++tries)
        usleep(500);
    EXPECT_EQ(threads_of_this_process(), before);
}

TEST(ThreadCalls, RefuseWhatIsNoThread) {
    const Handle event(make_event(false));
    for (const HANDLE bad : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, GetCurrentThread(),
                             static_cast<HANDLE>(event)}) {
        DWORD code = 0;
        EXPECT_EQ(ResumeThread(bad), 0xFFFFFFFFu);
        EXPECT_FALSE(TerminateThread(bad, 0));
        EXPECT_FALSE(GetExitCodeThread(bad, &code));
        EXPECT_FALSE(SetThreadPriority(bad, 1));
        EXPECT_EQ(GetThreadPriority(bad), THREAD_PRIORITY_ERROR_RETURN);
        EXPECT_EQ(SuspendThread(bad), 0xFFFFFFFFu);
    }
    EXPECT_EQ(GetCurrentThreadId(), static_cast<DWORD>(pthread_self()));
    EXPECT_EQ(GetCurrentProcessId(), static_cast<DWORD>(getpid()));
    EXPECT_EQ(GetWindowThreadProcessId(nullptr, nullptr), 0u);
    DWORD window[] = {1, 2, 33, 44};
    DWORD process = 0;
    EXPECT_EQ(GetWindowThreadProcessId(reinterpret_cast<HWND>(window), &process), 44u);
    EXPECT_EQ(process, 33u);
}

// What is wrong with threads created under real-time scheduling (or not): 0 for nothing.
int check_priorities(HANDLE plain, HANDLE with_id, bool real_time) {
    if (plain == nullptr || with_id == nullptr)
        return 30;
    const int inherited = real_time ? 3 : 0;
    if (GetThreadPriority(plain) != inherited || GetThreadPriority(with_id) != inherited)
        return 40;
    if (!SetThreadPriority(plain, 5))
        return 50;
    // Applied where the process may do so: see whether this very process may.
    sched_param parameter{};
    parameter.sched_priority = 5;
    const bool may = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameter) == 0;
    return GetThreadPriority(plain) == (may ? 5 : inherited) ? 0 : 60;
}

int create_threads_with(bool ordinary_user, bool real_time) {
    if (ordinary_user && setuid(65534) != 0)
        return 10;
    sched_param parameter{};
    parameter.sched_priority = 3;
    if (real_time && pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameter) != 0)
        return 20; // not allowed here
    const Handle go(make_event(true));
    DWORD id = 0;
    const Handle plain(start(wait_for_the_event, go));
    const Handle with_id(CreateThread(nullptr, 0, wait_for_the_event, go, 0, &id));
    const int wrong = check_priorities(plain, with_id, real_time);
    SetEvent(go);
    WaitForSingleObject(plain, INFINITE);
    WaitForSingleObject(with_id, INFINITE);
    return wrong;
}

TEST(ThreadScheduling, AnybodyCanCreateThreadsAndTheyInherit) {
    for (const bool ordinary_user : {false, true}) {
        for (const bool real_time : {false, true}) {
            if (ordinary_user && geteuid() != 0)
                continue; // this whole test runs as one
            const pid_t child = fork();
            if (child == 0)
                _exit(create_threads_with(ordinary_user, real_time && !ordinary_user));
            int status = 0;
            waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status));
            if (WEXITSTATUS(status) != 20) {
                EXPECT_EQ(WEXITSTATUS(status), 0) << ordinary_user << real_time;
            }
        }
    }
}

} // namespace
