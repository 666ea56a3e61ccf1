#include "kernel/sync_object.h"
#include "tests/kernel/sleeper.h"

#include <list>
#include <time.h>

using namespace kalto_test;

// Applications have these numbers compiled in.
static_assert(WAIT_OBJECT_0 == 10000 && WAIT_ABANDONED_0 == 20000 && WAIT_TIMEOUT == 110 &&
              WAIT_FAILED == 22 && STILL_ACTIVE == 0x7FFFFFFF && INFINITE == 0xFFFFFFFF);

namespace {

TEST(Event, AutoResetServesOneWaitAndManualResetEveryWait) {
    const Handle once(make_event(false));
    const Handle always(make_event(true));
    EXPECT_TRUE(SetEvent(once));
    EXPECT_TRUE(KaltoSetEvent(always));
    for (const DWORD result : {WAIT_OBJECT_0, WAIT_TIMEOUT, WAIT_TIMEOUT}) {
        EXPECT_EQ(poll(once), result);
        EXPECT_EQ(poll(always), WAIT_OBJECT_0);
        EXPECT_FALSE(PulseEvent(always)) << "which leaves it alone";
    }
    EXPECT_TRUE(KaltoResetEvent(always));
    EXPECT_EQ(poll(always), WAIT_TIMEOUT);
}

// Deliberate, all of it: no recursion count, anybody may release, and too often does no harm.
TEST(Mutex, CanBeTakenAgainByItsOwnerAndOneReleaseFreesIt) {
    const Handle mutex(CreateMutex(nullptr, TRUE, nullptr));
    const auto release = [&] { return static_cast<DWORD>(ReleaseMutex(mutex)); };
    EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
    EXPECT_TRUE(release());
    EXPECT_EQ(poll_elsewhere(mutex), WAIT_OBJECT_0);
    EXPECT_EQ(poll(mutex), WAIT_TIMEOUT);
    EXPECT_TRUE(release());
    EXPECT_TRUE(release());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
        EXPECT_EQ(poll_elsewhere(mutex), WAIT_TIMEOUT);
        // Released by a stranger it is free for its old owner too, who takes it anew.
        EXPECT_TRUE(Sleeper(release).result());
    }
}

TEST(Semaphore, ReleaseSaturatesAndReportsTheCountBefore) {
    struct Case {
        LONG initial, maximum, release, after;
    };
    for (const Case& c : {Case{0, 2, 5, 2}, Case{1, 5, 2, 3}, Case{5, 2, 1, 2}, Case{2, 5, -1, 1}}) {
        const Handle semaphore(CreateSemaphore(nullptr, c.initial, c.maximum, nullptr));
        LONG before = -99;
        EXPECT_TRUE(ReleaseSemaphore(semaphore, c.release, &before));
        EXPECT_EQ(before, c.initial);
        for (LONG i = 0; i <= c.after; ++i)
            EXPECT_EQ(poll(semaphore), i < c.after ? WAIT_OBJECT_0 : WAIT_TIMEOUT) << c.initial;
    }
}

// Deliberate: applications poll in the rhythm of the time-out.
TEST(Search, IsNeverSignalled) {
    HANDLE search = nullptr;
    create_handle(HT_FIND, nullptr, &search);
    EXPECT_EQ(WaitForSingleObject(search, 5), WAIT_TIMEOUT);
    EXPECT_EQ(wait_any(search, 5), WAIT_TIMEOUT);
    EXPECT_EQ(references(search), 1);
    CloseHandle(search);
}

TEST(NamedEvent, IsSharedAsItIsAndRefusedOnceClosed) {
    const HANDLE first = CreateEvent(nullptr, TRUE, TRUE, L"door");
    const HANDLE second = CreateEvent(nullptr, FALSE, FALSE, L"door");
    EXPECT_EQ(second, first);
    EXPECT_EQ(poll(second), WAIT_OBJECT_0) << "the arguments of the second create are not applied";
    ResetEvent(second);
    Sleeper blocked([&] { return WaitForSingleObject(second, INFINITE); });
    blocked.until_asleep();
    CloseHandle(first);
    EXPECT_EQ(blocked.result(), WAIT_FAILED) << "nobody can signal it any more";
    EXPECT_FALSE(SetEvent(second));
    EXPECT_EQ(poll(second), WAIT_FAILED);
    CloseHandle(second);
}

// Or it would be released twice, and freed before its other openers have closed it.
TEST(NamedEvent, IsNeitherOpenedNorWaitedForByAGroupBetweenItsLastReferenceAndItsRelease) {
    const HANDLE first = CreateEvent(nullptr, TRUE, FALSE, L"hatch");
    const HANDLE second = CreateEvent(nullptr, TRUE, FALSE, L"hatch");
    EXPECT_EQ(kalto::drop_reference(*kalto::sync_record_of(first), false), 0); // as far as a close has come
    EXPECT_EQ(WaitForMultipleObjects(1, &second, TRUE, 1), WAIT_FAILED);
    EXPECT_EQ(references(second), 0);
    const Handle fresh(CreateEvent(nullptr, TRUE, FALSE, L"hatch"));
    EXPECT_NE(HANDLE(fresh), second);
    InterlockedIncrement(&kalto::record_of(first)->references);
    CloseHandle(first);
    CloseHandle(second);
}

TEST(Calls, RefuseWhatIsNoHandleOrNoSuchObject) {
    HANDLE module = nullptr;
    HANDLE bare = nullptr; // a record that was never made into an event
    create_handle(HT_MODULE, nullptr, &module);
    create_handle(HT_EVENT, nullptr, &bare);
    const Handle event(make_event(true));
    const Handle mutex(CreateMutex(nullptr, FALSE, nullptr));
    EXPECT_FALSE(SetEvent(mutex) || ResetEvent(mutex) || ReleaseMutex(event));
    for (const HANDLE bad : {GetCurrentThread(), INVALID_HANDLE_VALUE, module, bare, HANDLE(event)}) {
        EXPECT_FALSE(TerminateThread(bad, 0) || GetExitCodeThread(bad, nullptr) || SetThreadPriority(bad, 1));
        EXPECT_EQ(GetThreadPriority(bad), THREAD_PRIORITY_ERROR_RETURN);
        EXPECT_EQ(ResumeThread(bad), 0xFFFFFFFFu);
        EXPECT_EQ(SuspendThread(bad), 0xFFFFFFFFu);
        if (bad == event)
            continue;
        EXPECT_EQ(WaitForSingleObject(bad, INFINITE), WAIT_FAILED);
        EXPECT_EQ(wait_any(bad, INFINITE), WAIT_FAILED);
        EXPECT_FALSE(SetEvent(bad) || ResetEvent(bad) || ReleaseMutex(bad));
    }
    CloseHandle(module);
    CloseHandle(bare);
}

// With a remainder of -999 milliseconds, which has to be made positive.
TEST(Deadline, IsAWallClockMomentWithASignedTimeOut) {
    const std::pair<DWORD, int64_t> cases[] = {
        {0, 0}, {1999, 1999}, {0x80000000u, -0x80000000LL}, {0x80000289u, -2147482999}, {0xFFFFFFFEu, -2}};
    const auto ns = [](const timespec& t) { return t.tv_sec * INT64_C(1000000000) + t.tv_nsec; };
    for (const auto& [ms, offset] : cases) {
        timespec before{}, deadline{}, after{};
        clock_gettime(CLOCK_REALTIME, &before);
        GetTimeOutTime(&deadline, ms);
        clock_gettime(CLOCK_REALTIME, &after);
        const int64_t asked_at = ns(deadline) - offset * 1000000;
        EXPECT_TRUE(ns(before) <= asked_at && asked_at <= ns(after)) << ms;
        EXPECT_TRUE(deadline.tv_nsec >= 0 && deadline.tv_nsec <= 999999999) << ms;
    }
    const Handle event(make_event(false));
    for (const DWORD ms : {0x80000000u, 0xFFFFFFFEu, 20u}) {
        EXPECT_EQ(WaitForSingleObject(event, ms), WAIT_TIMEOUT);
        EXPECT_EQ(wait_any(event, ms), WAIT_TIMEOUT);
    }
}

TEST(BlockedThreads, AreServedInTheOrderInWhichTheyCameAndBeforeAnyNewcomer) {
    for (const Kind& kind : kKinds) {
        const Handle object(kind.make(FALSE));
        std::list<Sleeper> blocked;
        for (int i = 0; i < 4; ++i) {
            blocked.emplace_back([&] { return WaitForSingleObject(object, INFINITE); });
            blocked.back().until_asleep(); // so they queue in this order
            const auto give_up = [&] { return WaitForSingleObject(object, 1); };
            EXPECT_EQ(Sleeper(give_up).result(), WAIT_TIMEOUT) << kind.what;
        }
        for (; !blocked.empty(); blocked.pop_front()) {
            EXPECT_TRUE(kind.signal(object));
            EXPECT_EQ(poll(object), WAIT_TIMEOUT) << kind.what << ": it was given already";
            EXPECT_EQ(blocked.front().result(), WAIT_OBJECT_0) << kind.what;
            EXPECT_EQ(blocked.back().returned(), blocked.size() == 1) << kind.what;
        }
        expect_untouched(object);
    }
}

TEST(BlockedThreads, AreServedTogetherByAManualResetEventThatIsResetAtOnceAndBySeveralUnits) {
    const Handle event(make_event(true));
    const Handle semaphore(CreateSemaphore(nullptr, 0, 9, nullptr));
    std::list<Sleeper> blocked;
    for (const HANDLE object : {HANDLE(event), HANDLE(event), HANDLE(semaphore), HANDLE(semaphore)}) {
        blocked.emplace_back([object] { return WaitForSingleObject(object, INFINITE); });
        blocked.back().until_asleep();
    }
    SetEvent(event);
    ResetEvent(event);
    ReleaseSemaphore(semaphore, 3, nullptr);
    for (Sleeper& thread : blocked)
        EXPECT_EQ(thread.result(), WAIT_OBJECT_0);
    EXPECT_EQ(poll(event), WAIT_TIMEOUT);
    EXPECT_EQ(poll(semaphore), WAIT_OBJECT_0);
    EXPECT_EQ(poll(semaphore), WAIT_TIMEOUT);
}

// The first thing that many a program does with a completion event.
TEST(BlockedThreads, KeepTheRecordAliveThatTheWokenThreadCloses) {
    for (int i = 0; i < 1000 / KALTO_TEST_TIME_FACTOR; ++i) {
        const HANDLE done = make_event(false);
        Sleeper waiter([=] {
            const DWORD result = WaitForSingleObject(done, INFINITE);
            CloseHandle(done);
            return result;
        });
        if (i % 2 == 0)
            waiter.until_asleep();
        SetEvent(done);
        ASSERT_EQ(waiter.result(), WAIT_OBJECT_0);
    }
}

} // namespace
