#include "kernel/handle_record.h"
#include "tests/kernel/sleeper.h"

#include <gtest/gtest.h>
#include <list>
#include <memory>
#include <vector>

using namespace kalto_test;

namespace {

DWORD poll(HANDLE handle) {
    return WaitForSingleObject(handle, 0);
}

LONG references(HANDLE handle) {
    return InterlockedExchangeAdd(&kalto::record_of(handle)->references, 0);
}

void expect_untouched(HANDLE handle) {
    EXPECT_EQ(references(handle), 1);
    EXPECT_EQ(kalto::sync_record_of(handle)->link, nullptr);
}

// Auto-reset events and a wait for them.
struct Events {
    std::vector<HANDLE> handles;
    explicit Events(size_t count, bool manual = false) {
        for (size_t i = 0; i < count; ++i)
            handles.push_back(make_event(manual));
    }
    ~Events() {
        for (const HANDLE handle : handles)
            CloseHandle(handle);
    }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;
    HANDLE operator[](size_t i) const { return handles[i]; }
    DWORD wait(bool all, DWORD ms) const {
        return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), all, ms);
    }
    std::unique_ptr<Sleeper> blocked(bool all, DWORD ms = INFINITE) const {
        auto sleeper = std::make_unique<Sleeper>([this, all, ms] { return wait(all, ms); });
        // Linked first, then asleep: it sleeps nowhere in between.
        while (references(handles[0]) < 2 && !sleeper->returned())
            usleep(500);
        sleeper->until_asleep();
        return sleeper;
    }
};

TEST(WaitForAny, ReportsTheHighestIndexAndConsumesOnlyThat) {
    const Events e(3);
    SetEvent(e[0]);
    SetEvent(e[1]);
    EXPECT_EQ(e.wait(false, INFINITE), DWORD{WAIT_OBJECT_0 + 1});
    EXPECT_EQ(e.wait(false, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(e.wait(false, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(e.wait(false, 10), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(e.wait(false, 0x80000000u), DWORD{WAIT_TIMEOUT});
    for (const HANDLE handle : e.handles)
        expect_untouched(handle);
}

TEST(WaitForAny, TakesMoreHandlesThanWindows) {
    const Events e(100);
    const auto waiter = e.blocked(false);
    SetEvent(e[99]);
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0 + 99});
    EXPECT_EQ(e.wait(false, 5), DWORD{WAIT_TIMEOUT});
}

TEST(WaitForAny, IsGivenTheSignalThatIsResetAtOnceAndNoNewcomerIs) {
    for (const bool manual : {false, true}) {
        const Events e(3, manual);
        const auto waiter = e.blocked(false);
        SetEvent(e[1]);
        EXPECT_EQ(poll(e[1]), manual ? DWORD{WAIT_OBJECT_0} : DWORD{WAIT_TIMEOUT});
        ResetEvent(e[1]);
        EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0 + 1});
        expect_untouched(e[1]);
    }
}

TEST(WaitForAny, LeavesTheOtherSignalsThatCameMeanwhile) {
    const Events e(3);
    const auto waiter = e.blocked(false);
    for (const HANDLE handle : e.handles)
        SetEvent(handle);
    const DWORD index = waiter->result() - WAIT_OBJECT_0;
    ASSERT_LT(index, 3u);
    for (DWORD i = 0; i < 3; ++i)
        EXPECT_EQ(poll(e[i]), i == index ? DWORD{WAIT_TIMEOUT} : DWORD{WAIT_OBJECT_0}) << i;
}

TEST(WaitForAny, OfManyThreadsOnASharedStopEventReleasesEveryOne) {
    const Handle stop(make_event(true));
    std::list<Events> own;
    std::list<Sleeper> threads;
    for (int i = 0; i < 6; ++i) {
        own.emplace_back(1);
        const HANDLE handles[] = {own.back()[0], stop};
        threads.emplace_back([=] { return WaitForMultipleObjects(2, handles, FALSE, INFINITE); });
        while (references(stop) < 2 + i)
            usleep(500);
        threads.back().until_asleep();
    }
    SetEvent(own.front()[0]);
    EXPECT_EQ(threads.front().result(), DWORD{WAIT_OBJECT_0});
    threads.pop_front();
    SetEvent(stop);
    ResetEvent(stop);
    for (auto& thread : threads)
        EXPECT_EQ(thread.result(), DWORD{WAIT_OBJECT_0 + 1});
    expect_untouched(stop);
}

TEST(WaitForAll, ReturnsWhenEachHasBeenSignalledInAnyOrder) {
    const Events e(3);
    const auto waiter = e.blocked(true);
    for (const size_t i : {1, 0, 2}) {
        EXPECT_FALSE(waiter->returned());
        SetEvent(e[i]);
        ResetEvent(e[i]); // given already
        waiter->until_asleep();
    }
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0});
    SetEvent(e[0]);
    EXPECT_EQ(e.wait(true, 10), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(poll(e[0]), DWORD{WAIT_TIMEOUT}) << "consumed, although the wait came to nothing";
    for (const HANDLE handle : e.handles)
        expect_untouched(handle);
    EXPECT_EQ(WaitForMultipleObjects(0, nullptr, TRUE, INFINITE), DWORD{WAIT_OBJECT_0});
}

// Deliberate: what stays signalled is counted in every round.
TEST(WaitForAll, CountsOverItsRounds) {
    const Events e(3, true);
    SetEvent(e[2]);
    const auto waiter = e.blocked(true);
    SetEvent(e[0]);
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0}) << "1 + 2 makes 3, although e[1] was never set";
}

TEST(WaitForAll, EndsWhenTheCountHasPassedTheNumber) {
    const Events e(2, true);
    const auto waiter = e.blocked(true);
    SetEvent(e[0]);
    while (!waiter->returned()) {
        SetEvent(e[1]);
        usleep(500);
    }
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0});
}

TEST(Abandoned, IsReportedOnTheNextLookAndTheObjectIsReleased) {
    for (const bool all : {false, true}) {
        Events e(2);
        const auto waiter = e.blocked(all);
        CloseHandle(e[1]);
        EXPECT_EQ(references(e[1]), 1);
        EXPECT_FALSE(waiter->until_asleep().returned()) << "closing alone is no reason to look";
        SetEvent(e[0]);
        EXPECT_EQ(waiter->result(), DWORD{WAIT_ABANDONED_0 + 1});
        EXPECT_EQ(poll(e[0]), all ? DWORD{WAIT_TIMEOUT} : DWORD{WAIT_OBJECT_0})
            << "a look for any ended before it";
        e.handles.pop_back(); // freed by the wait; a second free is the address sanitizer's to find
    }
}

TEST(Abandoned, ALowerIndexGivesWayToASignalledHigherOne) {
    Events e(2);
    const auto waiter = e.blocked(false);
    CloseHandle(e[0]);
    SetEvent(e[1]);
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0 + 1});
    e.handles.erase(e.handles.begin());
}

TEST(Abandoned, AWaitWithoutEndAndWithoutHopeReturns) {
    Events e(2);
    const auto waiter = e.blocked(false);
    CloseHandle(e[0]);
    CloseHandle(e[1]);
    EXPECT_EQ(waiter->result(), DWORD{WAIT_ABANDONED_0 + 1});
    e.handles.clear();
}

TEST(TerminatedThreads, LeaveAGroupWaitWithoutATrace) {
    for (int round = 0; round < 60 / KALTO_TEST_TIME_FACTOR; ++round) {
        const Events e(3, false);
        const auto waiter = e.blocked(round % 2 == 0);
        pthread_cancel(waiter->thread());
        SetEvent(e[1]); // at about the moment of the termination
        if (waiter->terminate()) {
            EXPECT_EQ(poll(e[1]), DWORD{WAIT_OBJECT_0}) << "what it was given went back";
        }
        for (const HANDLE handle : e.handles)
            expect_untouched(handle);
    }
}

TEST(Interruption, DoesNotEndAGroupWait) {
    make_interrupting(SIGUSR1);
    const Events e(2);
    const auto waiter = e.blocked(false);
    for (int i = 0; i < 5; ++i) {
        pthread_kill(waiter->thread(), SIGUSR1);
        waiter->until_asleep();
    }
    EXPECT_FALSE(waiter->returned());
    SetEvent(e[0]);
    EXPECT_EQ(waiter->result(), DWORD{WAIT_OBJECT_0});
}

TEST(Mixed, MutexSemaphoreAndSearchHandlesInOneWait) {
    const Handle mutex(CreateMutex(nullptr, TRUE, nullptr));
    const Handle semaphore(CreateSemaphore(nullptr, 0, 3, nullptr));
    HANDLE search = nullptr; // never signalled
    create_handle(HT_FIND, nullptr, &search);
    const HANDLE handles[] = {mutex, semaphore, search};
    Sleeper waiter([&] { return WaitForMultipleObjects(3, handles, FALSE, INFINITE); });
    while (references(mutex) < 2)
        usleep(500);
    waiter.until_asleep();
    ReleaseSemaphore(semaphore, 1, nullptr);
    EXPECT_EQ(waiter.result(), DWORD{WAIT_OBJECT_0 + 1});
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), DWORD{WAIT_OBJECT_0})
        << "the owner may take it again";
    EXPECT_EQ(references(search), 1);
    EXPECT_EQ(WaitForSingleObject(search, 5), DWORD{WAIT_TIMEOUT});
    CloseHandle(search);
}

} // namespace
