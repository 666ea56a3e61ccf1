#include <gtest/gtest.h>
#include <kalto/kernel.h>
#include <kalto/system.h>
#include <signal.h>
#include <sys/time.h>

namespace {

TEST(TickCount, StartsAtZeroAndCountsMillisecondsThatSleepWaitsAlsoThroughSignals) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(SIGALRM, &interrupt, nullptr);
    const itimerval often{{0, 5000}, {0, 5000}}, never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(GetTickCount(), 0u);
    Sleep(100);
    EXPECT_GE(GetTickCount(), 99u);
    setitimer(ITIMER_REAL, &never, nullptr);
    for (const DWORD ms : {DWORD{0}, DWORD{0x80000000u}, DWORD{0xFFFFFFFEu}})
        Sleep(ms); // at once, also for what is negative
    EXPECT_LT(GetTickCount(), 60000u);
}

} // namespace
