#include "kernel/guard.h"
#include "tests/kernel/sleeper.h"

#include <kalto/system.h>
#include <time.h>

using namespace kalto_test;

extern "C" DWORD wait_without_unwind_tables(LPVOID event);

namespace {

constexpr DWORD kNoCode = 99;
const HANDLE never = make_event(false);

HANDLE start(LPTHREAD_START_ROUTINE routine, LPVOID parameter = nullptr, DWORD flags = 0) {
    return CreateThread(nullptr, 0, routine, parameter, flags, nullptr);
}

DWORD wait_for_the_event(LPVOID event) {
    return WaitForSingleObject(event, INFINITE);
}

// kNoCode when there is none to be had.
DWORD exit_code(HANDLE thread) {
    DWORD code = 0;
    return GetExitCodeThread(thread, &code) ? code : kNoCode;
}

// Somebody is inside a call that blocks on it.
bool pinned(HANDLE handle) {
    kalto::SyncRecord& object = *kalto::sync_record_of(handle);
    const kalto::Guard held(object.guard);
    return object.pins != 0;
}

void until_pinned(HANDLE handle) {
    while (!pinned(handle))
        usleep(500);
}

// Deliberate: the result of the routine is not the exit code, and the code can be had once.
TEST(Thread, RunsWithItsParameterAndEndsSignalledWithTheCodeOfExitThreadOrZero) {
    const LPTHREAD_START_ROUTINE leave_if_even = [](LPVOID word) -> DWORD {
        const auto number = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(word));
        if (number % 2 == 0)
            ExitThread(number);
        return number + 1;
    };
    for (ULONG_PTR i = 100; i < 100 + 500 / KALTO_TEST_TIME_FACTOR; ++i) {
        DWORD id = 0;
        const Handle thread(CreateThread(nullptr, 0, leave_if_even, reinterpret_cast<LPVOID>(i), 0, &id));
        ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        ASSERT_EQ(poll(thread), WAIT_OBJECT_0) << "it stays signalled";
        const auto& fields = kalto::sync_record_of(thread)->u.thread;
        ASSERT_EQ(id, static_cast<DWORD>(fields.id));
        ASSERT_EQ(fields.word, i + i % 2);
        ASSERT_EQ(exit_code(thread), i % 2 == 0 ? i : 0) << "and not still active";
        ASSERT_EQ(exit_code(thread), kNoCode);
        ASSERT_FALSE(TerminateThread(thread, 0));
    }
}

TEST(SuspendedThread, StartsWithResumeThreadAfterFiveSeconds) {
    const Handle thread(start([](LPVOID) -> DWORD { return 7; }, nullptr, CREATE_SUSPENDED));
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    EXPECT_EQ(WaitForSingleObject(thread, 50), WAIT_TIMEOUT);
    EXPECT_EQ(exit_code(thread), DWORD{STILL_ACTIVE});
    EXPECT_EQ(ResumeThread(thread), 0u);
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE((after.tv_sec - before.tv_sec) * 1000 + (after.tv_nsec - before.tv_nsec) / 1000000, 5000);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
}

DWORD poll_for_ever(LPVOID event) {
    while (poll(event) == WAIT_TIMEOUT) {
    }
    return 0;
}

TEST(TerminateThread, EndsAThreadInEveryBlockingCall) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    const Handle go(make_event(false));
    const Handle worker(start(wait_for_the_event, go));
    // Its exit code is waited for although it runs: only its own reference is left.
    InterlockedDecrement(&kalto::record_of(worker)->references);
    const struct {
        const char* what;
        LPTHREAD_START_ROUTINE block;
        LPVOID parameter;
        DWORD flags;
    } cases[] = {
        {"single wait", wait_for_the_event, never, 0},
        {"timed wait", [](LPVOID event) { return WaitForSingleObject(event, 600000); }, never, 0},
        {"group wait", [](LPVOID event) { return wait_any(event, INFINITE); }, never, 0},
        {"Sleep", [](LPVOID) -> DWORD { return Sleep(INFINITE), 0; }, nullptr, 0},
        {"critical section", [](LPVOID s) { return EnterCriticalSection(LPCRITICAL_SECTION(s)); }, &section,
         0},
        {"polling", poll_for_ever, never, 0},
        {"resuming another", ResumeThread, worker, 0},
#ifndef __SANITIZE_THREAD__ // which cannot cope with a thread that is terminated inside pthread_join
        {"joining another", exit_code, worker, 0},
#endif
        {"a routine without unwind tables", wait_without_unwind_tables, never, 0},
        {"before its start", wait_for_the_event, never, CREATE_SUSPENDED},
    };
    for (const auto& c : cases) {
        const Handle thread(start(c.block, c.parameter, c.flags));
        if (c.parameter == worker)
            until_pinned(worker);
        EXPECT_TRUE(TerminateThread(thread, 1)) << c.what;
        EXPECT_EQ(poll(thread), WAIT_OBJECT_0) << c.what;
        EXPECT_EQ(references(thread), 1) << c.what;
        EXPECT_EQ(exit_code(thread), kNoCode) << c.what << ": the termination has collected it";
        EXPECT_EQ(references(never), 1) << c.what;
        EXPECT_FALSE(pinned(never) || pinned(worker)) << c.what;
    }
    InterlockedIncrement(&kalto::record_of(worker)->references);
    SetEvent(go);
    WaitForSingleObject(worker, INFINITE);
    EXPECT_EQ(exit_code(worker), 0u) << "nobody else has collected it";
}

TEST(TerminateThread, CalledByTheThreadOnItselfEndsIt) {
    static std::atomic<HANDLE> self{nullptr};
    const Handle thread(start([](LPVOID) -> DWORD {
        while (self == nullptr) {
        }
        TerminateThread(self, 0);
        ExitThread(1);
        return 0;
    }));
    self = thread;
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(exit_code(thread), 0xFFFFFFFFu);
}

TEST(WindowThread, IsInTheFourthWordOfTheWindowAndItsProcessInTheThird) {
    DWORD window[] = {1, 2, 33, 44};
    DWORD process = 0;
    EXPECT_EQ(GetWindowThreadProcessId(reinterpret_cast<HWND>(window), &process), 44u);
    EXPECT_EQ(process, 33u);
}

} // namespace
