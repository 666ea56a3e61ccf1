// Reading and setting the clock, on a clock of the test's own: the machine's stays as it is.
#include "tests/system/zones.h"

#include <cerrno>
#include <dlfcn.h>
#include <future>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <sys/time.h>

namespace {
timeval clock_now = {}; // what is read, and what was set
int set_error = 0;
std::future<void> other; // begun while the zone is read again
void (*during_reload)() = nullptr;
} // namespace

extern "C" {
KALTO_API int settimeofday(const timeval* value, const struct timezone*) noexcept {
    clock_now = *value;
    errno = set_error;
    return set_error == 0 ? 0 : -1;
}

KALTO_API void tzset() noexcept {
    reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "tzset"))();
    if (during_reload != nullptr && !other.valid() && strcmp(getenv("TZ"), ":") == 0)
        during_reload();
}

KALTO_API int gettimeofday(timeval* value, void* zone) noexcept {
    *value = clock_now;
    if (zone != nullptr)
        *static_cast<struct timezone*>(zone) = {-90, 0}; // minutes west
    return 0;
}
}

namespace {

// 2026-07-01 12:30:15 and 2026-11-15 14:05:09
constexpr Seconds kSummer = 1782909015, kWinter = 1794751509;

// The tests run only when the library's calls do end here.
class Clock : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "settimeofday"), reinterpret_cast<void*>(&settimeofday));
    }
};

TEST_F(Clock, IsReadInEveryFormAndZone) {
    for (const char* zone : kZones)
        for (const Seconds now : {kSummer, kWinter}) {
            enter_zone(zone);
            const Offset offset = offset_at(now);
            clock_now = {static_cast<std::time_t>(now), 123999};
            SYSTEMTIME utc = {}, local = {};
            FILETIME file = {};
            GetSystemTime(&utc);
            EXPECT_TRUE(SystemTimeToFileTime(&utc, &file));
            EXPECT_EQ(ticks(file), ticks(now) + 1230000);
            GetLocalTime(&local);
            EXPECT_TRUE(SystemTimeToFileTime(&local, &file));
            EXPECT_EQ(ticks(file), ticks(now + offset.ahead) + 1230000);
            GetSystemTimeAsFileTime(&file);
            EXPECT_EQ(ticks(file), ticks(now) + 1239990);
            // The zone call stores the bias, and nothing else.
            TIME_ZONE_INFORMATION information, expected;
            memset(&information, 0x5A, sizeof information);
            expected = information;
            expected.Bias = -90;
            expected.DaylightBias = 0;
            EXPECT_EQ(GetTimeZoneInformation(&information), offset.summer != 0 ? DWORD{1} : DWORD{0});
            EXPECT_EQ(memcmp(&information, &expected, sizeof expected), 0);
        }
    GetSystemTime(nullptr);
    GetLocalTime(nullptr);
    GetSystemTimeAsFileTime(nullptr);
    EXPECT_EQ(GetTimeZoneInformation(nullptr), DWORD{TIME_ZONE_ID_INVALID});
}

TEST_F(Clock, IsSetFromUtcAndFromLocalTime) {
    constexpr bool fits = sizeof(std::time_t) > 4;
    const SYSTEMTIME new_year = {2026, 1, 0, 1, 0, 0, 0, 0}, beyond = {2040, 1, 0, 1, 0, 0, 0, 0};
    const struct {
        const char* zone;
        decltype(&SetSystemTime) set;
        SYSTEMTIME time;
        int refusal;
        DWORD error;          // 99: none
        Seconds microseconds; // handed to the system; 0: nothing was
    } cases[] = {
        {kZones[0], SetSystemTime, {2026, 7, 6, 1, 12, 30, 15, 250}, 0, 99, kSummer * 1000000 + 250000},
        {kZones[0], SetLocalTime, {2026, 7, 0, 1, 14, 30, 15, 999}, 0, 99, kSummer * 1000000 + 999000},
        {kZones[3], SetSystemTime, {2025, 13, 0, 1, 0, 0, 0, 1000}, 0, 99, 1767225600999000}, // unchecked
        {kZones[3], SetSystemTime, new_year, EPERM, 13, 1767225600000000},
        {kZones[3], SetLocalTime, new_year, EINVAL, 22, 1767225600000000},
        {kZones[3], SetLocalTime, new_year, EFAULT, 19, 1767225600000000},
        {kZones[3], SetSystemTime, beyond, 0, fits ? 99u : 22u, fits ? 2208988800000000 : 0},
        {kZones[3], SetLocalTime, beyond, 0, fits ? 99u : 22u, fits ? 2208988800000000 : 0},
    };
    for (const auto& c : cases) {
        enter_zone(c.zone);
        clock_now = {};
        set_error = c.refusal;
        SetLastError(99);
        EXPECT_EQ(c.set(&c.time), c.error == 99);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(Seconds{clock_now.tv_sec} * 1000000 + clock_now.tv_usec, c.microseconds);
        EXPECT_FALSE(c.set(nullptr));
        EXPECT_EQ(GetLastError(), DWORD{22});
    }
}

// The zone is read again at every call. In that moment, when TZ is set aside, another thread asks for a local
// time.
TEST_F(Clock, LocalTimeReloadsTheZoneAndNoOtherCallSeesIt) {
    enter_zone("IST-5:30");
    clock_now = {};
    during_reload = [] {
        other = std::async(std::launch::async, [] {
            const FILETIME epoch = file_time(ticks(0));
            FILETIME local = {};
            FileTimeToLocalFileTime(&epoch, &local);
            EXPECT_EQ(ticks(local), ticks(19800));
        });
        other.wait_for(std::chrono::milliseconds(50)); // it is kept waiting
    };
    SYSTEMTIME local = {};
    GetLocalTime(&local);
    ASSERT_TRUE(other.valid());
    other.get();
    EXPECT_TRUE(same(local, {1970, 1, 4, 1, 5, 30, 0, 0}));
    EXPECT_STREQ(getenv("TZ"), "IST-5:30");
    unsetenv("TZ");
    during_reload = nullptr;
    GetLocalTime(&local);
    EXPECT_EQ(getenv("TZ"), nullptr);
}

TEST_F(Clock, HasNoPerformanceCounter) {
    LARGE_INTEGER value;
    value.QuadPart = 77;
    EXPECT_FALSE(QueryPerformanceCounter(&value) || value.QuadPart != 77);
    EXPECT_FALSE(QueryPerformanceFrequency(&value) || value.QuadPart != 0);
}

} // namespace
