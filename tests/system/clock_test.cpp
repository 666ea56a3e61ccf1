// Reading and setting the clock, on a clock of the test's own: the machine's stays as it is.
#include "calendar_model.h"

#include <cerrno>
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
int until_failure = 0;               // the setenv that finds no memory, counted from 1; 0: none
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
    const char* const zone = getenv("TZ");
    if (during_reload && zone != nullptr && strcmp(zone, ":") == 0)
        std::exchange(during_reload, nullptr)();
}

KALTO_API int setenv(const char* name, const char* value, int replace) noexcept {
    using Set = int (*)(const char*, const char*, int);
    static const auto real = reinterpret_cast<Set>(dlsym(RTLD_NEXT, "setenv"));
    return until_failure != 0 && --until_failure == 0 ? -1 : real(name, value, replace);
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

const Moment kSummer = moment({2026, 7, 0, 1, 12, 30, 15, 123}),
             kWinter = moment({2026, 11, 0, 15, 14, 5, 9, 123});

// The tests run only when the library's calls do end here.
class Clock : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "settimeofday"), reinterpret_cast<void*>(&settimeofday));
        ASSERT_EQ(dlsym(RTLD_DEFAULT, "gettimeofday"), reinterpret_cast<void*>(&gettimeofday));
    }
};

TEST_F(Clock, IsReadInEveryFormAndZone) {
    for (const char* zone : kZones)
        for (const Moment& now : {kSummer, kWinter}) {
            enter_zone(zone);
            const Offset offset = offset_at(now.seconds);
            clock_now = {static_cast<std::time_t>(now.seconds), 123999};
            SYSTEMTIME utc = {}, local = {};
            FILETIME file = {}, local_file = {};
            GetSystemTime(&utc);
            GetLocalTime(&local);
            GetSystemTimeAsFileTime(&file);
            EXPECT_TRUE(same(utc, now.parts));
            EXPECT_TRUE(SystemTimeToFileTime(&local, &local_file));
            EXPECT_EQ(ticks(local_file), ticks(now.seconds + offset.ahead, 123));
            EXPECT_EQ(ticks(file), ticks(now.seconds) + 1239990);
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
        DWORD error;     // 99: none
        Seconds seconds; // handed to the system, and microseconds; 0: nothing was
        int microseconds;
    } cases[] = {
        {kZones[0], SetSystemTime, {2026, 7, 6, 1, 12, 30, 15, 250}, 0, 99, kSummer.seconds, 250000},
        {kZones[0], SetLocalTime, {2026, 7, 0, 1, 14, 30, 15, 999}, 0, 99, kSummer.seconds, 999000},
        {kZones[1], SetLocalTime, {2026, 1, 0, 1, 5, 30, 0, 1000}, 0, 99, 1767225600, 999000},
        {kZones[3], SetSystemTime, {2025, 13, 0, 1, 0, 0, 0, 0}, 0, 99, 1767225600, 0}, // unchecked
        {kZones[3], SetSystemTime, new_year, EPERM, 13, 1767225600, 0},
        {kZones[3], SetLocalTime, new_year, EINVAL, 22, 1767225600, 0},
        {kZones[3], SetLocalTime, new_year, EFAULT, 19, 1767225600, 0},
        {kZones[3], SetSystemTime, beyond, 0, fits ? 99u : 22u, fits ? 2208988800 : 0, 0},
        {kZones[3], SetLocalTime, beyond, 0, fits ? 99u : 22u, fits ? 2208988800 : 0, 0},
    };
    for (const auto& c : cases) {
        enter_zone(c.zone);
        clock_now = {};
        set_error = c.refusal;
        SetLastError(99);
        EXPECT_EQ(c.set(&c.time), c.error == 99);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(clock_now.tv_sec, c.seconds);
        EXPECT_EQ(clock_now.tv_usec, c.microseconds);
        EXPECT_FALSE(c.set(nullptr));
        EXPECT_EQ(GetLastError(), DWORD{22});
    }
}

// A zone file of one fixed offset of less than a day, in the oldest of its formats.
void write_zone_file(const std::string& path, std::uint32_t offset) {
    std::string file = std::string("TZif") + std::string(40, '\0');
    file[39] = 1; // one kind of time,
    file[43] = 4; // four characters of abbreviations
    for (const int bits : {24, 16, 8, 0})
        file += static_cast<char>(offset >> bits);
    std::ofstream(path, std::ios::binary) << file << std::string(2, '\0') << "ABC" << '\0';
}

TEST_F(Clock, LocalTimeSeesAChangedZoneFileAndKeepsTz) {
    const std::string path = testing::TempDir() + "kalto_zone." + std::to_string(getpid());
    const std::string name = ":" + path;
    write_zone_file(path, 3600);
    enter_zone(name.c_str());
    clock_now = {static_cast<std::time_t>(kWinter.seconds), 0};
    SYSTEMTIME local = {};
    for (const unsigned hours_ahead : {1, 2, 5}) {
        write_zone_file(path, hours_ahead * 3600);
        GetLocalTime(&local);
        EXPECT_EQ(local.wHour, kWinter.parts.wHour + hours_ahead);
        EXPECT_STREQ(getenv("TZ"), name.c_str());
    }
    unlink(path.c_str());
    unsetenv("TZ");
    GetLocalTime(&local);
    EXPECT_EQ(getenv("TZ"), nullptr);
    for (const int failing : {1, 2}) { // setting TZ aside, and putting it back
        enter_zone("IST-5:30");
        until_failure = failing;
        GetLocalTime(&local);
        until_failure = 0;
        EXPECT_STREQ(getenv("TZ"), "IST-5:30");
    }
}

// In the moment of the reload, when TZ is set aside, another thread asks for local times.
TEST_F(Clock, NoOtherCallSeesTheReload) {
    enter_zone("IST-5:30");
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
    EXPECT_TRUE(same(local, {1970, 1, 4, 1, 5, 30, 0, 0}));
    EXPECT_TRUE(same(others, local));
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
