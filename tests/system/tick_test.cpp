#include <gtest/gtest.h>
#include <kalto/kernel.h>
#include <kalto/system.h>
#include <signal.h>
#include <sys/time.h>
#include <time.h>

namespace {

double seconds_now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

TEST(TickCount, StartsAtZeroAndCountsMilliseconds) {
    EXPECT_EQ(GetTickCount(), 0u);
    const double before = seconds_now();
    Sleep(30);
    const DWORD ticks = GetTickCount();
    EXPECT_GE(ticks, 29u);
    EXPECT_LE(ticks, static_cast<DWORD>((seconds_now() - before) * 1000) + 2);
}

TEST(Sleep, ReturnsAtOnceForNothingAndForWhatIsNegative) {
    const double before = seconds_now();
    for (const DWORD ms : {DWORD{0}, DWORD{0x80000000u}, DWORD{0xFFFFFFFEu}})
        Sleep(ms);
    EXPECT_LT(seconds_now() - before, 60.0);
}

TEST(Sleep, IsNotEndedBySignals) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(SIGALRM, &interrupt, nullptr);
    const itimerval often{{0, 5000}, {0, 5000}}, never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const double before = seconds_now();
    Sleep(100);
    EXPECT_GE(seconds_now() - before, 0.099);
    setitimer(ITIMER_REAL, &never, nullptr);
}

} // namespace
