#include <gtest/gtest.h>
#include <kalto/kernel.h>
#include <limits>
#include <thread>
#include <vector>

namespace {

constexpr LONG kMax = std::numeric_limits<LONG>::max();
constexpr LONG kMin = std::numeric_limits<LONG>::min();

TEST(Interlocked, ResultsAndEffects) {
    struct Case {
        const char* what;
        LONG before;
        LONG (*call)(LONG volatile*);
        LONG result;
        LONG after;
    };
    const Case cases[] = {
        {"increment", 4, [](LONG volatile* p) { return InterlockedIncrement(p); }, 5, 5},
        {"increment wraps", kMax, [](LONG volatile* p) { return InterlockedIncrement(p); }, kMin, kMin},
        {"decrement", 1, [](LONG volatile* p) { return InterlockedDecrement(p); }, 0, 0},
        {"decrement wraps", kMin, [](LONG volatile* p) { return InterlockedDecrement(p); }, kMax, kMax},
        {"exchange", 7, [](LONG volatile* p) { return InterlockedExchange(p, 9); }, 7, 9},
        {"add", 7, [](LONG volatile* p) { return InterlockedExchangeAdd(p, -9); }, 7, -2},
        {"add wraps", kMax, [](LONG volatile* p) { return InterlockedExchangeAdd(p, 2); }, kMax, kMin + 1},
        {"test matches", 7, [](LONG volatile* p) { return InterlockedTestExchange(p, 7, 3); }, 7, 3},
        {"test fails", 7, [](LONG volatile* p) { return InterlockedTestExchange(p, 3, 5); }, 7, 7},
    };
    for (const Case& c : cases) {
        LONG value = c.before;
        EXPECT_EQ(c.call(&value), c.result) << c.what;
        EXPECT_EQ(value, c.after) << c.what;
    }
}

TEST(Interlocked, IsAtomicFromTheVeryFirstCall) {
    LONG value = 0;
    const int rounds = 20000 / KALTO_TEST_TIME_FACTOR;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i)
                InterlockedIncrement(&value);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(InterlockedExchangeAdd(&value, 0), 4 * rounds);
}

} // namespace
