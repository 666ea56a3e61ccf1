#include "kernel/handle_record.h"
#include "tests/kernel/sleeper.h"

#include <gtest/gtest.h>
#include <list>
#include <sys/wait.h>
#include <time.h>
#include <vector>

using namespace kalto_test;

// Applications have these numbers compiled in.
static_assert(WAIT_OBJECT_0 == 10000 && WAIT_ABANDONED_0 == 20000 && WAIT_TIMEOUT == 110 &&
              WAIT_FAILED == 22 && STILL_ACTIVE == 0x7FFFFFFF && INFINITE == 0xFFFFFFFF);

namespace {

DWORD poll(HANDLE handle) {
    return WaitForSingleObject(handle, 0);
}

int left_over_posts(HANDLE handle) {
    int value = -1;
    sem_getvalue(&kalto::sync_record_of(handle)->signal, &value);
    return value;
}

TEST(Event, AutoResetServesOneWaitAndManualResetEveryWait) {
    const Handle once(make_event(false));
    const Handle always(make_event(true));
    EXPECT_EQ(poll(once), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(SetEvent(once));
    EXPECT_TRUE(KaltoSetEvent(always));
    EXPECT_EQ(poll(once), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(poll(once), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(poll(always), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(poll(always), DWORD{WAIT_OBJECT_0});
    EXPECT_FALSE(PulseEvent(always));
    EXPECT_EQ(poll(always), DWORD{WAIT_OBJECT_0}) << "a pulse leaves the event alone";
    EXPECT_TRUE(KaltoResetEvent(always));
    EXPECT_EQ(poll(always), DWORD{WAIT_TIMEOUT});
}

TEST(Mutex, CanBeTakenAgainByItsOwnerAndOneReleaseFreesIt) {
    const Handle mutex(CreateMutex(nullptr, TRUE, nullptr));
    EXPECT_EQ(poll(mutex), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(poll(mutex), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(Sleeper([&] { return poll(mutex); }).result(), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(Sleeper([&] { return poll(mutex); }).result(), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(poll(mutex), DWORD{WAIT_TIMEOUT});
    // Deliberate: anybody may release it, and too often does no harm.
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(poll(mutex), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(Sleeper([&] { return poll(mutex); }).result(), DWORD{WAIT_TIMEOUT});
    // And then it is free for its old owner too, who takes it anew.
    EXPECT_EQ(Sleeper([&] { return static_cast<DWORD>(ReleaseMutex(mutex)); }).result(), DWORD{TRUE});
    EXPECT_EQ(poll(mutex), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(Sleeper([&] { return poll(mutex); }).result(), DWORD{WAIT_TIMEOUT});
}

TEST(Semaphore, ReleaseSaturatesAndReportsTheCountBefore) {
    struct Case {
        LONG initial, maximum, release, after;
    };
    for (const Case& c :
         {Case{0, 2, 5, 2}, Case{1, 5, 2, 3}, Case{2, 2, 1, 2}, Case{5, 2, 1, 2}, Case{2, 5, -1, 1}}) {
        const Handle semaphore(CreateSemaphore(nullptr, c.initial, c.maximum, nullptr));
        LONG before = -99;
        EXPECT_TRUE(ReleaseSemaphore(semaphore, c.release, &before));
        EXPECT_EQ(before, c.initial);
        for (LONG i = 0; i < c.after; ++i)
            EXPECT_EQ(poll(semaphore), DWORD{WAIT_OBJECT_0}) << c.initial << " " << c.release;
        EXPECT_EQ(poll(semaphore), DWORD{WAIT_TIMEOUT}) << c.initial << " " << c.release;
    }
}

TEST(Calls, RefuseWhatIsNoHandleOrNoSuchObject) {
    const Handle event(make_event(true));
    const Handle mutex(CreateMutex(nullptr, FALSE, nullptr));
    HANDLE module = nullptr; // a record that no wait and no signal has a meaning for
    HANDLE bare = nullptr;   // never made into an event
    create_handle(HT_MODULE, nullptr, &module);
    create_handle(HT_EVENT, nullptr, &bare);
    for (const HANDLE bad : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, module, bare}) {
        EXPECT_EQ(WaitForSingleObject(bad, INFINITE), DWORD{WAIT_FAILED});
        EXPECT_FALSE(SetEvent(bad));
        EXPECT_FALSE(ResetEvent(bad));
        EXPECT_FALSE(ReleaseSemaphore(bad, 1, nullptr));
        EXPECT_FALSE(ReleaseMutex(bad));
        const HANDLE several[] = {event, bad};
        EXPECT_EQ(WaitForMultipleObjects(2, several, FALSE, INFINITE), DWORD{WAIT_FAILED});
    }
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_FALSE(ReleaseMutex(event));
    CloseHandle(module);
    CloseHandle(bare);
}

TEST(NamedEvent, IsSharedAsItIsAndRefusedOnceClosed) {
    const HANDLE first = CreateEvent(nullptr, TRUE, TRUE, L"door");
    const HANDLE second = CreateEvent(nullptr, FALSE, FALSE, L"door");
    EXPECT_EQ(second, first);
    EXPECT_EQ(poll(second), DWORD{WAIT_OBJECT_0}) << "the arguments of the second create are not applied";
    const Handle other(CreateMutex(nullptr, FALSE, L"door"));
    EXPECT_NE(static_cast<HANDLE>(other), first);
    Sleeper blocked([&] {
        ResetEvent(second);
        return WaitForSingleObject(second, INFINITE);
    });
    blocked.until_asleep();
    CloseHandle(first);
    EXPECT_EQ(blocked.result(), DWORD{WAIT_FAILED}) << "nobody can signal it any more";
    EXPECT_FALSE(SetEvent(second));
    EXPECT_EQ(poll(second), DWORD{WAIT_FAILED});
    CloseHandle(second);
}

TEST(Deadline, IsAWallClockMomentWithASignedTimeOut) {
    struct Case {
        DWORD ms;
        long long nanoseconds;
    };
    for (const Case& c : {Case{0, 0}, Case{1999, 1999000000LL}, Case{0x80000000u, -2147483648000000LL},
                          Case{0xFFFFFFFEu, -2000000LL}}) {
        timespec before{};
        timespec deadline{};
        timespec after{};
        clock_gettime(CLOCK_REALTIME, &before);
        GetTimeOutTime(&deadline, c.ms);
        clock_gettime(CLOCK_REALTIME, &after);
        const auto ns = [](const timespec& t) { return t.tv_sec * 1000000000LL + t.tv_nsec; };
        EXPECT_GE(ns(deadline), ns(before) + c.nanoseconds);
        EXPECT_LE(ns(deadline), ns(after) + c.nanoseconds);
        EXPECT_TRUE(deadline.tv_nsec >= 0 && deadline.tv_nsec <= 999999999) << c.ms;
    }
    const Handle event(make_event(false));
    EXPECT_EQ(WaitForSingleObject(event, 0x80000000u), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(event, 0xFFFFFFFEu), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(event, 20), DWORD{WAIT_TIMEOUT});
}

// Several threads blocked on one object.
struct Crowd {
    std::list<Sleeper> threads;
    Crowd(size_t count, HANDLE handle, DWORD ms = INFINITE) {
        for (size_t i = 0; i < count; ++i) {
            threads.emplace_back([=] { return WaitForSingleObject(handle, ms); });
            threads.back().until_asleep(); // so they queue in this order
        }
    }
    size_t released() const {
        size_t count = 0;
        for (const auto& thread : threads)
            count += thread.returned() ? 1 : 0;
        return count;
    }
    void until_released(size_t count) const {
        while (released() < count)
            usleep(500);
    }
};

TEST(BlockedThreads, AreAllReleasedByAManualResetEventThatIsResetAtOnce) {
    const Handle event(make_event(true));
    Crowd crowd(4, event);
    SetEvent(event);
    ResetEvent(event);
    for (auto& thread : crowd.threads)
        EXPECT_EQ(thread.result(), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(poll(event), DWORD{WAIT_TIMEOUT}) << "nobody set again what was reset meanwhile";
}

TEST(BlockedThreads, GetAnAutoResetSignalBeforeAnyNewcomer) {
    const Handle event(make_event(false));
    Crowd crowd(3, event);
    for (size_t i = 1; i <= 3; ++i) {
        SetEvent(event);
        EXPECT_EQ(poll(event), DWORD{WAIT_TIMEOUT}) << "it was given already";
        crowd.until_released(i);
    }
    SetEvent(event);
    EXPECT_EQ(poll(event), DWORD{WAIT_OBJECT_0});
}

TEST(BlockedThreads, GetAsManyUnitsAsAreReleased) {
    const Handle semaphore(CreateSemaphore(nullptr, 0, 10, nullptr));
    Crowd crowd(3, semaphore);
    ReleaseSemaphore(semaphore, 2, nullptr);
    EXPECT_EQ(poll(semaphore), DWORD{WAIT_TIMEOUT});
    crowd.until_released(2);
    ReleaseSemaphore(semaphore, 4, nullptr);
    crowd.until_released(3);
    LONG before = 0;
    ReleaseSemaphore(semaphore, 0, &before);
    EXPECT_EQ(before, 3);
}

TEST(BlockedThreads, GetTheMutexOneAfterTheOtherInTheOrderInWhichTheyCame) {
    const Handle mutex(CreateMutex(nullptr, TRUE, nullptr));
    Crowd crowd(3, mutex);
    size_t released = 0;
    for (auto& thread : crowd.threads) {
        ReleaseMutex(mutex);
        EXPECT_EQ(poll(mutex), DWORD{WAIT_TIMEOUT});
        EXPECT_EQ(thread.result(), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(crowd.released(), ++released);
    }
}

TEST(BlockedThreads, NothingIsPostedForNobody) {
    const Handle event(make_event(false));
    const Handle semaphore(CreateSemaphore(nullptr, 0, 5, nullptr));
    const int before = left_over_posts(event);
    for (int i = 0; i < 1000; ++i) {
        SetEvent(event);
        ReleaseSemaphore(semaphore, 1, nullptr);
    }
    EXPECT_LE(left_over_posts(event), before);
    EXPECT_LE(left_over_posts(semaphore), before);
    EXPECT_EQ(poll(event), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(event, 1), DWORD{WAIT_TIMEOUT});
}

TEST(BlockedThreads, KeepTheRecordAliveThatTheWokenThreadCloses) {
    // The first thing that many a program does with a completion event.
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
        ASSERT_EQ(waiter.result(), DWORD{WAIT_OBJECT_0});
    }
}

TEST(TerminatedThreads, LeaveTheirPlaceAndPassOnWhatTheyWereGiven) {
    for (int round = 0; round < 100 / KALTO_TEST_TIME_FACTOR; ++round) {
        const Handle event(make_event(false));
        Sleeper doomed([&] { return WaitForSingleObject(event, INFINITE); });
        doomed.until_asleep();
        Sleeper next([&] { return WaitForSingleObject(event, INFINITE); });
        next.until_asleep();
        pthread_cancel(doomed.thread());
        if (round % 2 == 0)
            SetEvent(event); // at about the moment of the termination
        const bool terminated = doomed.terminate();
        if (round % 2 != 0 || !terminated)
            SetEvent(event);
        ASSERT_EQ(next.result(), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(poll(event), DWORD{WAIT_TIMEOUT});
        EXPECT_EQ(kalto::sync_record_of(event)->pins, DWORD{0});
    }
}

TEST(Interruption, EndsAnUntimedWaitAndNotATimedOne) {
    make_interrupting(SIGUSR1);
    const Handle event(make_event(false));
    Sleeper endless([&] { return WaitForSingleObject(event, INFINITE); });
    Sleeper timed([&] { return WaitForSingleObject(event, 60000); });
    endless.until_asleep();
    timed.until_asleep();
    pthread_kill(endless.thread(), SIGUSR1);
    EXPECT_EQ(endless.result(), DWORD{EINTR});
    for (int i = 0; i < 5; ++i) {
        pthread_kill(timed.thread(), SIGUSR1);
        timed.until_asleep();
    }
    EXPECT_FALSE(timed.returned());
    SetEvent(event);
    EXPECT_EQ(timed.result(), DWORD{WAIT_OBJECT_0});
}

TEST(Interruption, EndsATimedWaitWhenTheRetryValueIsAnother) {
    make_interrupting(SIGUSR1);
    EXPECT_EQ(WSAEINTR, EINTR);
    WSAEINTR = 0;
    const Handle event(make_event(false));
    Sleeper timed([&] { return WaitForSingleObject(event, 60000); });
    pthread_kill(timed.until_asleep().thread(), SIGUSR1);
    EXPECT_EQ(timed.result(), DWORD{EINTR});
}

} // namespace
