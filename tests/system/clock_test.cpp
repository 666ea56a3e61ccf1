// Reading and setting the clock. Setting it, and the kernel's zone record, are interposed: the machine's own
// clock stays as it is.
#include "calendar_model.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {
timeval clock_was_set = {};
int set_error = 0;
int kernel_minutes_west = 0;
} // namespace

extern "C" {
KALTO_API int settimeofday(const timeval* value, const struct timezone*) noexcept {
    clock_was_set = *value;
    errno = set_error;
    return set_error == 0 ? 0 : -1;
}

KALTO_API int gettimeofday(timeval* value, void* zone) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    value->tv_sec = now.tv_sec;
    value->tv_usec = static_cast<decltype(value->tv_usec)>(now.tv_nsec / 1000);
    if (zone != nullptr)
        *static_cast<struct timezone*>(zone) = {kernel_minutes_west, 0};
    return 0;
}
}

using namespace calendar_model;

namespace {

Seconds seconds_now() {
    return std::time(nullptr);
}

Seconds seconds_of(const SYSTEMTIME& time) {
    return calendar_model::seconds_of(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute,
                                      time.wSecond);
}

// The tests that set the clock run only when the library's calls do end here.
class ClockSetting : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "settimeofday"), reinterpret_cast<void*>(&settimeofday));
        set_error = 0;
    }
};

TEST(Clock, TheCurrentTimeIsTheSameInEveryForm) {
    const ScopedZone zone("IST-5:30");
    const Seconds before = seconds_now();
    SYSTEMTIME utc = {}, local = {};
    FILETIME file = {};
    GetSystemTime(&utc);
    GetLocalTime(&local);
    GetSystemTimeAsFileTime(&file);
    const Seconds after = seconds_now();
    const Seconds readings[] = {seconds_of(utc), seconds_of(local) - 19800,
                                static_cast<Seconds>(ticks(file) / 10000000) - 11644473600};
    for (const Seconds reading : readings) {
        EXPECT_GE(reading, before);
        EXPECT_LE(reading, after);
    }
    EXPECT_EQ(utc.wDayOfWeek, moment_of(seconds_of(utc)).weekday);
    EXPECT_EQ(local.wDayOfWeek, moment_of(seconds_of(local)).weekday);
    EXPECT_EQ(ticks(file) % 10, 0u); // microseconds
    GetSystemTime(nullptr);
    GetLocalTime(nullptr);
    GetSystemTimeAsFileTime(nullptr);
}

TEST_F(ClockSetting, ComesFromUtcAndFromLocalTime) {
    const struct {
        const char* zone;
        bool local;
        SYSTEMTIME time;
        Seconds seconds;
        int microseconds;
    } cases[] = {
        {kZones[0], false, {2026, 7, 6, 1, 12, 30, 15, 250}, 1782909015, 250000},
        {kZones[0], true, {2026, 7, 0, 1, 14, 30, 15, 999}, 1782909015, 999000}, // summer time
        {kZones[0], true, {2026, 1, 0, 1, 1, 0, 0, 1000}, 1767225600, 999000},   // at most 999 ms
        {kZones[1], true, {2026, 1, 0, 1, 5, 30, 0, 65535}, 1767225600, 999000},
        {kZones[3], false, {2025, 13, 0, 1, 0, 0, 0, 0}, 1767225600, 0}, // unchecked
    };
    for (const auto& c : cases) {
        const ScopedZone zone(c.zone);
        EXPECT_TRUE(c.local ? SetLocalTime(&c.time) : SetSystemTime(&c.time));
        EXPECT_EQ(clock_was_set.tv_sec, c.seconds);
        EXPECT_EQ(clock_was_set.tv_usec, c.microseconds);
    }
}

TEST_F(ClockSetting, RefusedNamesItsReason) {
    const SYSTEMTIME time = {2026, 11, 0, 15, 14, 5, 9, 0};
    const struct {
        int error;
        DWORD expected;
    } cases[] = {{EPERM, 13}, {EINVAL, 22}, {EFAULT, 19}};
    for (const auto& c : cases) {
        set_error = c.error;
        SetLastError(0);
        EXPECT_FALSE(SetSystemTime(&time));
        EXPECT_EQ(GetLastError(), c.expected);
        SetLastError(0);
        EXPECT_FALSE(SetLocalTime(&time));
        EXPECT_EQ(GetLastError(), c.expected);
    }
}

TEST_F(ClockSetting, SkipsATimeThatTheClockCannotHold) {
    const SYSTEMTIME later = {2040, 1, 0, 1, 0, 0, 0, 0};
    const bool fits = sizeof(std::time_t) > 4;
    for (const auto set : {SetSystemTime, SetLocalTime}) {
        clock_was_set = {};
        SetLastError(0);
        EXPECT_EQ(set(&later), fits);
        EXPECT_EQ(GetLastError(), fits ? DWORD{0} : DWORD{22});
        EXPECT_EQ(clock_was_set.tv_sec != 0, fits);
        SetLastError(0);
        EXPECT_FALSE(set(nullptr));
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

TEST(Clock, LocalTimeSeesAChangedZoneFileAndKeepsTz) {
    const std::string path = testing::TempDir() + "kalto_zone." + std::to_string(getpid());
    const std::string name = ":" + path;
    write_zone_file(path, 3600);
    const ScopedZone zone(name.c_str());
    for (const int offset : {3600, 7200, -5400}) {
        write_zone_file(path, offset);
        SYSTEMTIME local = {};
        GetLocalTime(&local);
        EXPECT_NEAR(static_cast<double>(seconds_of(local) - seconds_now()), offset, 5);
        EXPECT_STREQ(getenv("TZ"), name.c_str());
    }
    unlink(path.c_str());
    unsetenv("TZ");
    SYSTEMTIME local = {};
    GetLocalTime(&local);
    EXPECT_EQ(getenv("TZ"), nullptr);
}

TEST(Clock, ThreadsReadingLocalTimeNeverLoseTz) {
    const ScopedZone zone("IST-5:30");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                const FILETIME given = file_time(ticks(0));
                FILETIME converted = {};
                SYSTEMTIME local = {};
                GetLocalTime(&local);
                FileTimeToLocalFileTime(&given, &converted); // never in the moment of the reload
                EXPECT_EQ(ticks(converted), ticks(19800));
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_STREQ(getenv("TZ"), "IST-5:30");
}

TEST(Clock, HasNoPerformanceCounter) {
    LARGE_INTEGER count, frequency;
    count.QuadPart = frequency.QuadPart = 77;
    EXPECT_FALSE(QueryPerformanceCounter(&count));
    EXPECT_FALSE(QueryPerformanceFrequency(&frequency));
    EXPECT_FALSE(QueryPerformanceFrequency(nullptr));
    EXPECT_EQ(count.QuadPart, 77);
    EXPECT_EQ(frequency.QuadPart, 0);
}

TEST(Clock, TheZoneCallStoresTheBiasAlone) {
    TIME_ZONE_INFORMATION zone, expected;
    memset(&zone, 0x5A, sizeof zone);
    kernel_minutes_west = -90;
    const ScopedZone scoped(kZones[0]);
    const bool daylight = is_daylight(0, seconds_now());
    EXPECT_EQ(GetTimeZoneInformation(&zone), daylight ? DWORD{1} : DWORD{0});
    memset(&expected, 0x5A, sizeof expected);
    expected.Bias = -90;
    expected.DaylightBias = 0;
    EXPECT_EQ(memcmp(&zone, &expected, sizeof zone), 0);
    const ScopedZone always_summer("STD0DST-2,J1/0,J365/25");
    EXPECT_EQ(GetTimeZoneInformation(&zone), DWORD{TIME_ZONE_ID_DAYLIGHT});
    EXPECT_EQ(GetTimeZoneInformation(nullptr), DWORD{TIME_ZONE_ID_INVALID});
}

} // namespace
