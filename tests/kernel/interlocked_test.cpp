#include <gtest/gtest.h>
#include <kalto/kernel.h>

TEST(Interlocked, ResultsAndEffects) {
    constexpr LONG kMax = 0x7FFFFFFF;
    constexpr LONG kMin = -kMax - 1;
    LONG value = kMax;
    EXPECT_EQ(InterlockedIncrement(&value), kMin);
    EXPECT_EQ(InterlockedExchangeAdd(&value, -1), kMin);
    EXPECT_EQ(InterlockedTestExchange(&value, 3, 5), kMax);
    EXPECT_EQ(InterlockedTestExchange(&value, kMax, 3), kMax);
    EXPECT_EQ(InterlockedExchange(&value, 9), 3);
    EXPECT_EQ(InterlockedDecrement(&value), 8);
}
