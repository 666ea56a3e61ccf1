// Reading and setting the clock, on a clock of the test's own: the machine's stays as it is.
#include "calendar_model.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace {
timeval clock_now = {}; // what is read, and what was set
int set_error = 0;
int kernel_minutes_west = -90;
std::function<void()> during_reload; // called once
} // namespace

extern "C" {
KALTO_API int settimeofday(const timeval* value, const struct timezone*) noexcept {
    clock_now = *value;
    errno = set_error;
    return set_error == 0 ? 0 : -1;
}

KALTO_API void tzset() noexcept {
    static const auto real = reinterpret_cast<void (*)()>(dlsym(RTLD_NEXT, "tzset"));
    real();
    if (during_reload && strcmp(getenv("TZ"), ":") == 0)
        std::exchange(during_reload, nullptr)();
}

KALTO_API int gettimeofday(timeval* value, void* zone) noexcept {
    *value = clock_now;
    if (zone != nullptr)
        *static_cast<struct timezone*>(zone) = {kernel_minutes_west, 0};
    return 0;
}
}

using namespace calendar_model;

namespace {

constexpr Seconds kSummer = 1782909015, kWinter = 1794751509; // 2026-07-01 12:30:15, 2026-11-15 14:05:09 UTC

// The tests run only when the library's calls do end here.
class Clock : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "settimeofday"), reinterpret_cast<void*>(&settimeofday));
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "gettimeofday"), reinterpret_cast<void*>(&gettimeofday));
    }
};

bool same(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

TEST_F(Clock, IsReadInEveryFormAndZone) {
    for (std::size_t zone = 0; zone < ARRAYSIZE(kZones); ++zone)
        for (const Seconds now : {kSummer, kWinter}) {
            const ScopedZone scoped(kZones[zone]);
            const bool daylight = is_daylight(zone, now);
            clock_now = {static_cast<std::time_t>(now), 123999};
            SYSTEMTIME utc = {}, local = {};
            FILETIME file = {};
            GetSystemTime(&utc);
            GetLocalTime(&local);
            GetSystemTimeAsFileTime(&file);
            EXPECT_TRUE(same(utc, system_time(now, 123)));
            EXPECT_TRUE(same(local, system_time(now + standard_offset(zone) + (daylight ? 3600 : 0), 123)));
            EXPECT_EQ(ticks(file), ticks(now) + 1239990);
            // The zone call stores the bias, and nothing else.
            TIME_ZONE_INFORMATION information, expected;
            memset(&information, 0x5A, sizeof information);
            memset(&expected, 0x5A, sizeof expected);
            expected.Bias = -90;
            expected.DaylightBias = 0;
            EXPECT_EQ(GetTimeZoneInformation(&information), daylight ? DWORD{1} : DWORD{0});
            EXPECT_EQ(memcmp(&information, &expected, sizeof expected), 0);
        }
    GetSystemTime(nullptr);
    GetLocalTime(nullptr);
    GetSystemTimeAsFileTime(nullptr);
    EXPECT_EQ(GetTimeZoneInformation(nullptr), DWORD{TIME_ZONE_ID_INVALID});
}

TEST_F(Clock, IsSetFromUtcAndFromLocalTime) {
    constexpr bool fits = sizeof(std::time_t) > 4;
    const struct {
        const char* zone;
        decltype(&SetSystemTime) set;
        SYSTEMTIME time;
        int refusal;
        BOOL expected;
        DWORD error;
        Seconds seconds; // handed to the system, and microseconds; 0: nothing was
        int microseconds;
    } cases[] = {
        {kZones[0], SetSystemTime, {2026, 7, 6, 1, 12, 30, 15, 250}, 0, TRUE, 99, kSummer, 250000},
        {kZones[0], SetLocalTime, {2026, 7, 0, 1, 14, 30, 15, 999}, 0, TRUE, 99, kSummer, 999000},
        {kZones[0], SetLocalTime, {2026, 1, 0, 1, 1, 0, 0, 1000}, 0, TRUE, 99, 1767225600, 999000},
        {kZones[1], SetLocalTime, {2026, 1, 0, 1, 5, 30, 0, 65535}, 0, TRUE, 99, 1767225600, 999000},
        {kZones[3], SetSystemTime, {2025, 13, 0, 1, 0, 0, 0, 0}, 0, TRUE, 99, 1767225600, 0}, // unchecked
        {kZones[3], SetSystemTime, {2026, 1, 0, 1, 0, 0, 0, 0}, EPERM, FALSE, 13, 1767225600, 0},
        {kZones[3], SetLocalTime, {2026, 1, 0, 1, 0, 0, 0, 0}, EINVAL, FALSE, 22, 1767225600, 0},
        {kZones[3], SetLocalTime, {2026, 1, 0, 1, 0, 0, 0, 0}, EFAULT, FALSE, 19, 1767225600, 0},
        {kZones[3],
         SetSystemTime,
         {2040, 1, 0, 1, 0, 0, 0, 0},
         0,
         fits,
         fits ? 99u : 22u,
         fits ? 2208988800 : 0,
         0},
        {kZones[3],
         SetLocalTime,
         {2040, 1, 0, 1, 0, 0, 0, 0},
         0,
         fits,
         fits ? 99u : 22u,
         fits ? 2208988800 : 0,
         0},
    };
    for (const auto& c : cases) {
        const ScopedZone zone(c.zone);
        clock_now = {};
        set_error = c.refusal;
        SetLastError(99);
        EXPECT_EQ(c.set(&c.time), c.expected);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(clock_now.tv_sec, c.seconds);
        EXPECT_EQ(clock_now.tv_usec, c.microseconds);
        EXPECT_FALSE(c.set(nullptr));
        EXPECT_EQ(GetLastError(), DWORD{22});
    }
}

// A zone file of one fixed offset, in the oldest of its formats.
void write_zone_file(const std::string& path, std::int32_t offset) {
    const auto word = [](std::uint32_t value) {
        return std::string{static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const std::string next = path + ".next";
    std::ofstream(next, std::ios::binary)
        << "TZif" << std::string(16, '\0') << word(0) << word(0) << word(0) << word(0) << word(1) << word(4)
        << word(static_cast<std::uint32_t>(offset)) << std::string(2, '\0') << "ABC" << '\0';
    ASSERT_EQ(std::rename(next.c_str(), path.c_str()), 0);
}

TEST_F(Clock, LocalTimeSeesAChangedZoneFileAndKeepsTz) {
    const std::string path = testing::TempDir() + "kalto_zone." + std::to_string(getpid());
    const std::string name = ":" + path;
    write_zone_file(path, 3600);
    const ScopedZone zone(name.c_str());
    clock_now = {static_cast<std::time_t>(kWinter), 0};
    SYSTEMTIME local = {};
    for (const int offset : {3600, 7200, -5400}) {
        write_zone_file(path, offset);
        GetLocalTime(&local);
        EXPECT_TRUE(same(local, system_time(kWinter + offset, 0))) << offset;
        EXPECT_STREQ(getenv("TZ"), name.c_str());
    }
    unlink(path.c_str());
    unsetenv("TZ");
    GetLocalTime(&local);
    EXPECT_EQ(getenv("TZ"), nullptr);
}

// In the moment of the reload, when TZ is set aside, another thread asks for local times.
TEST_F(Clock, NoOtherCallSeesTheReload) {
    const ScopedZone zone("IST-5:30");
    const FILETIME epoch = file_time(ticks(0));
    FILETIME converted = {};
    SYSTEMTIME local = {}, others = {};
    clock_now = {};
    std::future<void> other;
    during_reload = [&] {
        other = std::async(std::launch::async, [&] {
            FileTimeToLocalFileTime(&epoch, &converted);
            GetLocalTime(&others);
        });
        other.wait_for(std::chrono::milliseconds(50)); // it is kept waiting
    };
    GetLocalTime(&local);
    other.get();
    EXPECT_EQ(ticks(converted), ticks(19800));
    EXPECT_TRUE(same(local, system_time(19800, 0)));
    EXPECT_TRUE(same(others, system_time(19800, 0)));
    EXPECT_STREQ(getenv("TZ"), "IST-5:30");
}

TEST_F(Clock, HasNoPerformanceCounter) {
    LARGE_INTEGER value;
    value.QuadPart = 77;
    EXPECT_FALSE(QueryPerformanceCounter(&value));
    EXPECT_EQ(value.QuadPart, 77);
    EXPECT_FALSE(QueryPerformanceFrequency(&value));
    EXPECT_EQ(value.QuadPart, 0);
    EXPECT_FALSE(QueryPerformanceFrequency(nullptr));
}

} // namespace
