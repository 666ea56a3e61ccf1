#include "tests/kernel/sleeper.h"

using namespace kalto_test;

namespace {

struct Section {
    CRITICAL_SECTION section;
    Section() { InitializeCriticalSection(&section); }
    DWORD enter() { return EnterCriticalSection(&section); }
    DWORD leave() {
        LeaveCriticalSection(&section);
        return 0;
    }
    int free_places() {
        int value = -1;
        sem_getvalue(&section.LockSemaphore, &value);
        return value;
    }
};

// Deliberate, both halves: applications rely on the first leave letting others in.
TEST(CriticalSection, NestedEnterIsUndoneByTheFirstLeaveAndTheSecondAddsAPlace) {
    Section s;
    EXPECT_EQ(s.enter(), 1u);
    EXPECT_TRUE(pthread_equal(s.section.OwningThread, pthread_self()));
    EXPECT_EQ(s.enter(), 1u);
    EXPECT_EQ(s.section.RecursionCount, 2u);
    s.leave();
    EXPECT_EQ(s.section.RecursionCount, 1u);
    EXPECT_EQ(s.section.OwningThread, pthread_t{});
    s.leave();
    EXPECT_EQ(s.free_places(), 2);
}

// From the very first call on, which makes the process-wide section of the interlocked operations.
TEST(CriticalSection, ExcludesThreadsAsTheInterlockedOperationsDo) {
    Section s;
    LONG guarded = 0;
    LONG interlocked = 0;
    const int rounds = 20000 / KALTO_TEST_TIME_FACTOR;
    const auto work = [&] {
        for (int i = 0; i < rounds; ++i) {
            InterlockedIncrement(&interlocked);
            s.enter();
            ++guarded;
            s.leave();
        }
        return DWORD{0};
    };
    { const Sleeper threads[] = {Sleeper(work), Sleeper(work), Sleeper(work)}; }
    EXPECT_EQ(guarded, 3 * rounds);
    EXPECT_EQ(interlocked, 3 * rounds);
}

TEST(CriticalSection, ATerminatedContenderLeavesItToTheOthers) {
    for (int round = 0; round < 200 / KALTO_TEST_TIME_FACTOR; ++round) {
        Section s;
        const auto contend = [&s] { return s.enter() + s.leave(); };
        s.enter();
        Sleeper doomed(contend);
        Sleeper other(contend);
        if (round % 2 == 0)
            doomed.until_asleep();
        Sleeper leaver([&] { return s.leave(); });
        pthread_cancel(doomed.thread());
        ASSERT_EQ(other.result(), 1u);
        leaver.result();
        doomed.result();
        ASSERT_EQ(s.free_places(), 1);
    }
}

} // namespace
