// Many threads on few objects. A lost wake-up shows as a test that does not end, a doubled one as a count
// that does not balance.
#include "tests/kernel/sleeper.h"

#include <gtest/gtest.h>
#include <list>
#include <random>
#include <vector>

using namespace kalto_test;

namespace {

constexpr int kScale = KALTO_TEST_TIME_FACTOR;

// Start all at once, and collect their results.
class Threads {
  public:
    explicit Threads(int count, const std::function<DWORD(int)>& body) {
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([=] {
                WaitForSingleObject(go_, INFINITE);
                return body(i);
            });
        SetEvent(go_);
    }
    long sum() {
        long total = 0;
        for (auto& thread : threads_)
            total += static_cast<long>(thread.result());
        return total;
    }

  private:
    const Handle go_{make_event(true)};
    std::list<Sleeper> threads_;
};

TEST(Stress, AutoResetEventsHandATokenAroundARing) {
    constexpr int kThreads = 8;
    const int rounds = 500 / kScale;
    std::vector<HANDLE> turns;
    for (int i = 0; i < kThreads; ++i)
        turns.push_back(make_event(false));
    int token = 0; // unguarded: only the thread whose turn it is touches it
    Threads ring(kThreads, [&](int i) -> DWORD {
        for (int round = 0; round < rounds; ++round) {
            const DWORD wait = round % 2 == 0 ? INFINITE : 600000;
            if (WaitForSingleObject(turns[static_cast<size_t>(i)], wait) != WAIT_OBJECT_0)
                return 0;
            ++token;
            SetEvent(turns[static_cast<size_t>((i + 1) % kThreads)]);
        }
        return 1;
    });
    SetEvent(turns[0]);
    EXPECT_EQ(ring.sum(), kThreads);
    EXPECT_EQ(token, kThreads * rounds);
    EXPECT_EQ(WaitForSingleObject(turns[0], 0), DWORD{WAIT_OBJECT_0}) << "the token itself";
    for (const HANDLE turn : turns)
        CloseHandle(turn);
}

TEST(Stress, AMutexExcludesHoweverItIsWaitedFor) {
    const Handle mutex(CreateMutex(nullptr, FALSE, nullptr));
    const Handle never(make_event(false));
    const int rounds = 1500 / kScale;
    int inside = 0; // unguarded but for the mutex
    Threads threads(6, [&](int i) -> DWORD {
        const HANDLE both[] = {never, mutex};
        DWORD entered = 0;
        for (int round = 0; round < rounds; ++round) {
            DWORD result = 0;
            switch ((i + round) % 4) {
            case 0:
                result = WaitForSingleObject(mutex, INFINITE);
                break;
            case 1:
                result = WaitForSingleObject(mutex, 0);
                break;
            case 2:
                result = WaitForSingleObject(mutex, 1);
                break;
            default:
                result = WaitForMultipleObjects(2, both, FALSE, INFINITE);
                break;
            }
            if (result == WAIT_TIMEOUT)
                continue;
            if (++inside != 1)
                abort();
            ++entered;
            --inside;
            ReleaseMutex(mutex);
        }
        return entered;
    });
    EXPECT_GE(threads.sum(), 3 * rounds);
    EXPECT_EQ(inside, 0);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), DWORD{WAIT_OBJECT_0}) << "free in the end";
}

TEST(Stress, SemaphoreUnitsBalance) {
    const Handle semaphore(CreateSemaphore(nullptr, 0, 1000000, nullptr));
    const Handle never(make_event(false));
    const int rounds = 3000 / kScale;
    Threads producers(2, [&](int) -> DWORD {
        DWORD released = 0;
        for (int round = 0; round < rounds; ++round) {
            ReleaseSemaphore(semaphore, 1 + round % 3, nullptr);
            released += 1 + static_cast<DWORD>(round % 3);
        }
        return released;
    });
    std::atomic<bool> more{true};
    Threads consumers(5, [&](int i) -> DWORD {
        const HANDLE both[] = {semaphore, never};
        DWORD taken = 0;
        while (more || WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0) {
            if (!more) {
                ++taken;
                continue;
            }
            const DWORD result =
                i % 2 == 0 ? WaitForSingleObject(semaphore, 2) : WaitForMultipleObjects(2, both, FALSE, 2);
            taken += result == WAIT_OBJECT_0 ? 1 : 0;
        }
        return taken;
    });
    const long released = producers.sum();
    more = false;
    EXPECT_EQ(consumers.sum(), released);
}

// Each worker waits for its own event and the shared stop event, in single and in group waits.
TEST(Stress, WorkersGetEveryItemOnceAndAllOfThemStop) {
    constexpr int kWorkers = 6;
    for (int repetition = 0; repetition < 40 / kScale; ++repetition) {
        const Handle stop(make_event(true));
        const Handle work(CreateSemaphore(nullptr, 0, 100000, nullptr));
        const Handle done(CreateSemaphore(nullptr, 0, 100000, nullptr));
        Threads workers(kWorkers, [&](int) -> DWORD {
            const HANDLE both[] = {work, stop};
            DWORD items = 0;
            while (WaitForMultipleObjects(2, both, FALSE, INFINITE) == WAIT_OBJECT_0) {
                ++items;
                ReleaseSemaphore(done, 1, nullptr);
            }
            return items;
        });
        const int items = 200;
        for (int i = 0; i < items; ++i)
            ReleaseSemaphore(work, 1, nullptr);
        for (int i = 0; i < items; ++i)
            ASSERT_EQ(WaitForSingleObject(done, INFINITE), DWORD{WAIT_OBJECT_0});
        SetEvent(stop);
        if (repetition % 2 == 0)
            WaitForSingleObject(stop, 0); // manual-reset: consumes nothing
        EXPECT_EQ(workers.sum(), items);
    }
}

TEST(Stress, TimeOutsAndSignalsInTheSameMoment) {
    const Handle event(make_event(false));
    const int rounds = 400 / kScale;
    std::atomic<int> given{0};
    std::atomic<bool> more{true};
    Threads setter(1, [&](int) -> DWORD {
        DWORD set = 0;
        std::minstd_rand random(7);
        while (more) {
            // One signal at a time, given at about the moment at which the waiters' time is up.
            usleep(800 + static_cast<unsigned>(random() % 400));
            SetEvent(event);
            ++set;
            while (more && given != static_cast<int>(set))
                usleep(100);
        }
        return set;
    });
    Threads waiters(3, [&](int) -> DWORD {
        DWORD taken = 0;
        for (int round = 0; round < rounds; ++round) {
            if (WaitForSingleObject(event, 1) == WAIT_OBJECT_0) {
                ++taken;
                ++given;
            }
        }
        return taken;
    });
    const long taken = waiters.sum();
    more = false;
    const long left = WaitForSingleObject(event, 0) == WAIT_OBJECT_0 ? 1 : 0;
    const long set = setter.sum();
    const long late = WaitForSingleObject(event, 0) == WAIT_OBJECT_0 ? 1 : 0;
    EXPECT_EQ(taken + left + late, set) << "each signal was taken exactly once";
}

TEST(Stress, ObjectsClosedWhileOthersWait) {
    for (int round = 0; round < 150 / kScale; ++round) {
        const Handle stop(make_event(true));
        const HANDLE doomed = make_event(false);
        const HANDLE both[] = {stop, doomed};
        std::list<Sleeper> waiters;
        for (int i = 0; i < 3; ++i)
            waiters.emplace_back([=]() -> DWORD { return WaitForMultipleObjects(2, both, FALSE, INFINITE); });
        Sleeper single([=]() -> DWORD { return WaitForSingleObject(doomed, INFINITE); });
        for (auto& waiter : waiters)
            waiter.until_asleep();
        single.until_asleep();
        usleep(round % 5 == 0 ? 1000 : 0);
        while (InterlockedExchangeAdd(static_cast<LONG*>(doomed) + 1, 0) < 4)
            usleep(100); // linked: from here on the waits keep it
        if (round % 2 == 0) {
            for (; !single.returned(); usleep(100))
                SetEvent(doomed);
        }
        CloseHandle(doomed);
        SetEvent(stop);
        for (auto& waiter : waiters) {
            const DWORD result = waiter.result();
            EXPECT_TRUE(result == WAIT_OBJECT_0 || result == WAIT_ABANDONED_0 + 1 ||
                        result == WAIT_OBJECT_0 + 1)
                << result;
        }
    }
}

TEST(Stress, ThreadsTerminatedInTheMiddleOfEverything) {
    const Handle token(CreateSemaphore(nullptr, 1, 1, nullptr)); // one unit, handed around
    const Handle never(make_event(false));
    for (int round = 0; round < 60 / kScale; ++round) {
        std::vector<HANDLE> threads;
        static HANDLE handles[2];
        handles[0] = token;
        handles[1] = never;
        for (int i = 0; i < 4; ++i) {
            const LPTHREAD_START_ROUTINE body = [](LPVOID group) -> DWORD {
                for (;;) {
                    // Terminated only while it waits: between taking and releasing there is nothing to be
                    // terminated in.
                    if (group != nullptr)
                        WaitForMultipleObjects(2, handles, FALSE, INFINITE);
                    else
                        WaitForSingleObject(handles[0], INFINITE);
                    int before = 0;
                    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
                    ReleaseSemaphore(handles[0], 1, nullptr);
                    pthread_setcancelstate(before, nullptr);
                }
            };
            threads.push_back(CreateThread(nullptr, 0, body, i % 2 == 0 ? handles : nullptr, 0, nullptr));
        }
        usleep(static_cast<unsigned>(round % 7) * 100);
        for (const HANDLE thread : threads) {
            EXPECT_TRUE(TerminateThread(thread, 0));
            EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
            CloseHandle(thread);
        }
        ASSERT_EQ(WaitForSingleObject(token, 0), DWORD{WAIT_OBJECT_0})
            << "the unit is still there, round " << round;
        ASSERT_EQ(WaitForSingleObject(token, 0), DWORD{WAIT_TIMEOUT}) << "once";
        ReleaseSemaphore(token, 1, nullptr);
    }
}

} // namespace
