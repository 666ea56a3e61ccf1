#include <gtest/gtest.h>
#include <kalto/core.h>
#include <thread>

TEST(LastError, IsWhatItsThreadSetLast) {
    SetLastError(13);
    std::thread([] {
        EXPECT_EQ(GetLastError(), DWORD{0});
        SetLastError(2);
    }).join();
    EXPECT_EQ(GetLastError(), DWORD{13});
}
