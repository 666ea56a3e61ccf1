#include <atomic>
#include <gtest/gtest.h>
#include <kalto/kernel.h>
#include <signal.h>
#include <thread>
#include <vector>

namespace {

struct Section {
    CRITICAL_SECTION section;
    Section() { InitializeCriticalSection(&section); }
    int free_places() {
        int value = -1;
        sem_getvalue(&section.LockSemaphore, &value);
        return value;
    }
};

// Deliberate, both halves: applications rely on the first leave letting others in.
TEST(CriticalSection, NestedEnterIsUndoneByTheFirstLeaveAndTheSecondAddsAPlace) {
    Section s;
    EXPECT_EQ(EnterCriticalSection(&s.section), 1u);
    EXPECT_TRUE(pthread_equal(s.section.OwningThread, pthread_self()));
    EXPECT_EQ(EnterCriticalSection(&s.section), 1u);
    EXPECT_EQ(s.section.RecursionCount, 2u);
    LeaveCriticalSection(&s.section);
    EXPECT_EQ(s.section.RecursionCount, 1u);
    EXPECT_EQ(s.section.OwningThread, pthread_t{});
    std::thread([&] { EnterCriticalSection(&s.section); }).join(); // hangs if the section were still taken
    LeaveCriticalSection(&s.section);
    LeaveCriticalSection(&s.section);
    EXPECT_EQ(s.free_places(), 2);
}

TEST(CriticalSection, ExcludesThreads) {
    Section s;
    long counter = 0;
    const int rounds = 20000 / KALTO_TEST_TIME_FACTOR;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                EnterCriticalSection(&s.section);
                ++counter;
                LeaveCriticalSection(&s.section);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 4L * rounds);
    EXPECT_EQ(s.free_places(), 1);
}

// A contender, blocked in EnterCriticalSection, and the means to disturb it.
struct Contender {
    Section& s;
    std::atomic<bool> entered{false};
    pthread_t id{};
    explicit Contender(Section& section) : s(section) {
        pthread_create(
            &id, nullptr,
            [](void* self) -> void* {
                auto* const me = static_cast<Contender*>(self);
                EnterCriticalSection(&me->s.section);
                me->entered = true;
                LeaveCriticalSection(&me->s.section);
                return nullptr;
            },
            this);
    }
};

TEST(CriticalSection, ASignalLetsNobodyIn) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(SIGUSR1, &interrupt, nullptr);
    Section s;
    EnterCriticalSection(&s.section);
    Contender contender(s);
    for (int i = 0; i < 50; ++i) {
        pthread_kill(contender.id, SIGUSR1);
        usleep(1000);
        ASSERT_FALSE(contender.entered);
    }
    LeaveCriticalSection(&s.section);
    pthread_join(contender.id, nullptr);
    EXPECT_TRUE(contender.entered);
}

TEST(CriticalSection, ATerminatedContenderLeavesItToTheOthers) {
    for (int round = 0; round < 200 / KALTO_TEST_TIME_FACTOR; ++round) {
        Section s;
        EnterCriticalSection(&s.section);
        Contender doomed(s);
        Contender other(s);
        if (round % 2 == 0)
            usleep(200); // usually blocked by now
        std::thread leaver([&] { LeaveCriticalSection(&s.section); });
        pthread_cancel(doomed.id);
        leaver.join();
        void* end = nullptr;
        pthread_join(doomed.id, &end);
        pthread_join(other.id, nullptr);
        ASSERT_TRUE(other.entered);
        ASSERT_TRUE(doomed.entered || end == PTHREAD_CANCELED);
        ASSERT_EQ(s.free_places(), 1);
    }
}

} // namespace
