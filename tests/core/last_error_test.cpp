#include <gtest/gtest.h>
#include <kalto/core.h>
#include <thread>

TEST(LastError, IsWhatWasSetLast) {
    SetLastError(13);
    EXPECT_EQ(GetLastError(), DWORD{13});
}

TEST(LastError, BelongsToItsThread) {
    SetLastError(13);
    std::thread([] {
        EXPECT_EQ(GetLastError(), DWORD{0});
        SetLastError(2);
    }).join();
    EXPECT_EQ(GetLastError(), DWORD{13});
}
