#include "kernel/guard.h"
#include "kernel/wait_group.h"
#include "tests/kernel/sleeper.h"

#include <list>
#include <vector>

using namespace kalto_test;

namespace {

// Events, threads that wait for them, and nothing that stays behind.
struct Events {
    std::vector<HANDLE> handles;
    std::list<Sleeper> waiters;
    explicit Events(size_t count, bool manual = false) {
        for (size_t i = 0; i < count; ++i)
            handles.push_back(make_event(manual));
    }
    ~Events() {
        waiters.clear();
        for (const HANDLE handle : handles) {
            expect_untouched(handle);
            CloseHandle(handle);
        }
    }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;
    HANDLE operator[](size_t i) const { return handles[i]; }
    DWORD wait(bool all, DWORD ms) const {
        return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), all, ms);
    }
    // Linked first, from the last to the first, then asleep: it sleeps nowhere in between.
    Sleeper& blocked(bool all) {
        const LONG before = references(handles[0]);
        waiters.emplace_back([=] { return wait(all, INFINITE); });
        while (references(handles[0]) == before && !waiters.back().returned())
            usleep(500);
        return waiters.back().until_asleep();
    }
};

TEST(WaitForAny, ReportsTheHighestIndexAndConsumesOnlyThat) {
    const Events e(3);
    SetEvent(e[0]);
    SetEvent(e[1]);
    EXPECT_EQ(e.wait(false, INFINITE), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(e.wait(false, INFINITE), WAIT_OBJECT_0);
    for (const DWORD ms : {0u, 10u, 0x80000000u})
        EXPECT_EQ(e.wait(false, ms), WAIT_TIMEOUT);
}

TEST(WaitForAny, IsGivenTheSignalThatIsResetAtOnceAndNoNewcomerIs) {
    for (const size_t count : {3, 100}) { // Windows takes 64
        for (const bool manual : {false, true}) {
            Events e(count, manual);
            Sleeper& waiter = e.blocked(false);
            SetEvent(e[count - 2]);
            EXPECT_EQ(poll(e[count - 2]), manual ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
            ResetEvent(e[count - 2]);
            EXPECT_EQ(waiter.result(), WAIT_OBJECT_0 + count - 2);
        }
    }
}

TEST(WaitForAny, LeavesTheOtherSignalsThatCameMeanwhile) {
    Events e(3);
    Sleeper& waiter = e.blocked(false);
    for (const DWORD i : {1, 0, 2})
        SetEvent(e[i]);
    EXPECT_EQ(waiter.result(), WAIT_OBJECT_0 + 1);
    for (const DWORD i : {0, 1, 2})
        EXPECT_EQ(poll(e[i]), i == 1 ? WAIT_TIMEOUT : WAIT_OBJECT_0) << i;
}

TEST(WaitForAll, ReturnsWhenEachHasBeenSignalledInAnyOrder) {
    Events e(3);
    Sleeper& waiter = e.blocked(true);
    for (const size_t i : {1, 0, 2}) {
        EXPECT_FALSE(waiter.returned());
        SetEvent(e[i]);
        ResetEvent(e[i]); // given already
        waiter.until_asleep();
    }
    EXPECT_EQ(waiter.result(), WAIT_OBJECT_0);
    SetEvent(e[2]);
    EXPECT_EQ(e.wait(true, 10), WAIT_TIMEOUT);
    EXPECT_EQ(poll(e[2]), WAIT_TIMEOUT) << "consumed, although the wait came to nothing";
    EXPECT_EQ(WaitForMultipleObjects(0, nullptr, TRUE, INFINITE), WAIT_OBJECT_0);
}

// Deliberate: what stays signalled is counted in every round.
TEST(WaitForAll, CountsOverItsRounds) {
    Events e(3, true);
    SetEvent(e[2]);
    Sleeper& waiter = e.blocked(true);
    SetEvent(e[0]);
    EXPECT_EQ(waiter.result(), WAIT_OBJECT_0) << "1 + 2 makes 3, although e[1] was never set";
}

TEST(WaitForAll, EndsWhenTheCountHasPassedTheNumber) {
    Events e(2, true);
    Sleeper& waiter = e.blocked(true);
    kalto::SyncRecord& first = *kalto::sync_record_of(e[0]);
    const auto counted = [&first] {
        const kalto::Guard held(first.guard);
        return !first.link->given;
    };
    SetEvent(e[0]);
    while (!counted())
        usleep(500);
    SetEvent(e[1]);
    EXPECT_EQ(waiter.result(), WAIT_OBJECT_0) << "1 + 2 makes 3, which is more than 2";
}

TEST(Abandoned, IsReportedOnTheNextLookAndTheObjectIsReleased) {
    const struct {
        const char* what;
        bool all;
        int waiters;
        std::vector<size_t> closed;
        std::vector<size_t> set; // closing alone is no reason to look, while somebody can set another one
        DWORD result;
        DWORD left; // of what was set
    } cases[] = {
        {"a look for any ends before the lower one", false, 1, {1}, {0}, WAIT_ABANDONED_0 + 1, WAIT_OBJECT_0},
        {"by two waits", false, 2, {1}, {0}, WAIT_ABANDONED_0 + 1, WAIT_OBJECT_0},
        {"a look for all takes it", true, 1, {1}, {0}, WAIT_ABANDONED_0 + 1, WAIT_TIMEOUT},
        {"a higher one goes first", false, 1, {0}, {1}, WAIT_OBJECT_0 + 1, WAIT_TIMEOUT},
        {"no hope is left", false, 1, {0, 1}, {}, WAIT_ABANDONED_0 + 1, WAIT_TIMEOUT},
    };
    for (const auto& c : cases) {
        Events e(2);
        for (int i = 0; i < c.waiters; ++i)
            e.blocked(c.all);
        for (const size_t i : c.closed)
            CloseHandle(e[i]);
        for (const size_t i : c.set) {
            EXPECT_FALSE(e.waiters.front().until_asleep().returned()) << c.what;
            SetEvent(e[i]);
        }
        for (Sleeper& waiter : e.waiters)
            EXPECT_EQ(waiter.result(), c.result) << c.what;
        for (const size_t i : c.set)
            EXPECT_EQ(poll(e[i]), c.left) << c.what;
        // Freed by the wait; a second free is the address sanitizer's to find.
        for (size_t i = c.closed.size(); i-- > 0;)
            e.handles.erase(e.handles.begin() + static_cast<long>(c.closed[i]));
    }
}

} // namespace
