#include <gtest/gtest.h>
#include <kalto/kernel.h>

TEST(Interlocked, ResultsAndEffects) {
    constexpr LONG kMax = 0x7FFFFFFF;
    constexpr LONG kMin = -kMax - 1;
    const struct {
        const char* what;
        LONG before;
        LONG (*call)(LONG volatile*);
        LONG result;
        LONG after;
    } cases[] = {
        {"increment wraps", kMax, InterlockedIncrement, kMin, kMin},
        {"decrement", 1, InterlockedDecrement, 0, 0},
        {"exchange", 7, [](LONG volatile* p) { return InterlockedExchange(p, 9); }, 7, 9},
        {"add", 7, [](LONG volatile* p) { return InterlockedExchangeAdd(p, -9); }, 7, -2},
        {"add wraps", kMax, [](LONG volatile* p) { return InterlockedExchangeAdd(p, 2); }, kMax, kMin + 1},
        {"test matches", 7, [](LONG volatile* p) { return InterlockedTestExchange(p, 7, 3); }, 7, 3},
        {"test fails", 7, [](LONG volatile* p) { return InterlockedTestExchange(p, 3, 5); }, 7, 7},
    };
    for (const auto& c : cases) {
        LONG value = c.before;
        EXPECT_EQ(c.call(&value), c.result) << c.what;
        EXPECT_EQ(value, c.after) << c.what;
    }
}
