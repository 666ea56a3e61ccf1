// Many threads on few objects. A lost wake-up shows as a test that does not end, a doubled one as a count
// that does not balance.
#include "tests/kernel/sleeper.h"

#include <list>
#include <sched.h>

using namespace kalto_test;

namespace {

constexpr int kScale = KALTO_TEST_TIME_FACTOR;

const HANDLE never = make_event(false);

// One of five ways to wait for the same thing.
bool waited_for(HANDLE object, int way) {
    const HANDLE both[] = {never, object};
    constexpr DWORD kTimes[] = {INFINITE, 0, 1, INFINITE, 1};
    const DWORD ms = kTimes[way % 5];
    return way % 5 < 3 ? WaitForSingleObject(object, ms) == WAIT_OBJECT_0
                       : WaitForMultipleObjects(2, both, FALSE, ms) == WAIT_OBJECT_0 + 1;
}

TEST(Stress, ATokenIsNeverInTwoHandsAndNeverLost) {
    for (const Kind& kind : kKinds) {
        const Handle token(kind.make(TRUE));
        int hands = 0; // unguarded but for the token
        std::list<Sleeper> threads;
        for (int i = 0; i < 6; ++i)
            threads.emplace_back([&, i] {
                DWORD wrong = 0;
                for (int round = 0; round < 3000 / kScale; ++round) {
                    if (!waited_for(token, i + round))
                        continue;
                    wrong += ++hands == 1 ? 0 : 1;
                    if (round % 16 == 0)
                        sched_yield(); // so that the others are blocked when it comes back
                    --hands;
                    kind.signal(token);
                }
                return wrong;
            });
        for (Sleeper& thread : threads)
            EXPECT_EQ(thread.result(), 0u);
        EXPECT_EQ(poll(token), WAIT_OBJECT_0);
        EXPECT_EQ(poll_elsewhere(token), WAIT_TIMEOUT);
    }
}

TEST(Stress, WorkersTakeEveryUnitOnceAndAllOfThemStop) {
    const Handle work(CreateSemaphore(nullptr, 0, 1000000, nullptr));
    const Handle stop(make_event(true));
    std::atomic<int> taken{0};
    std::list<Sleeper> workers;
    for (int i = 0; i < 5; ++i)
        workers.emplace_back([&, i] {
            const HANDLE both[] = {work, stop};
            for (int round = i;; ++round) {
                const DWORD ms = round % 2 == 0 ? 1 : INFINITE;
                const DWORD result = round % 3 == 0 ? WaitForSingleObject(work, 1)
                                                    : WaitForMultipleObjects(2, both, FALSE, ms);
                if (result == WAIT_OBJECT_0 + 1)
                    return result;
                taken += result == WAIT_OBJECT_0 ? 1 : 0;
            }
        });
    int released = 0;
    for (int round = 0; round < 6000 / kScale; ++round) {
        ReleaseSemaphore(work, 1 + round % 3, nullptr);
        released += 1 + round % 3;
    }
    while (taken < released)
        usleep(500);
    SetEvent(stop);
    for (Sleeper& worker : workers)
        EXPECT_EQ(worker.result(), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(taken, released);
}

TEST(Stress, ObjectsClosedWhileOthersWait) {
    for (int round = 0; round < 150 / kScale; ++round) {
        const Handle stop(make_event(true));
        const HANDLE doomed = make_event(false);
        const HANDLE both[] = {stop, doomed};
        const auto wait = [&] { return WaitForMultipleObjects(2, both, FALSE, INFINITE); };
        Sleeper waiters[] = {Sleeper(wait), Sleeper(wait), Sleeper(wait)};
        while (references(stop) < 4)
            usleep(100); // linked, the stop event last: from here on the waits keep both
        if (round % 2 == 0)
            SetEvent(doomed);
        CloseHandle(doomed);
        SetEvent(stop);
        for (Sleeper& waiter : waiters) {
            const DWORD result = waiter.result();
            // The stop event by a thread that looked at the other one before it was closed.
            const DWORD highest = WAIT_OBJECT_0 + 1 - round % 2;
            EXPECT_TRUE(result == WAIT_ABANDONED_0 + 1 || result == WAIT_OBJECT_0 || result == highest);
        }
    }
}

} // namespace
