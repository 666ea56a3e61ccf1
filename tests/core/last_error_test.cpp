#include <gtest/gtest.h>
#include <kalto/core.h>

TEST(LastError, IsWhatWasSetLast) {
    SetLastError(13);
    EXPECT_EQ(GetLastError(), DWORD{13});
}
