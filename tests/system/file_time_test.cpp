// FILETIME, SYSTEMTIME and time_t, against a calendar model of their own and over the whole range of time_t.
#include "calendar_model.h"

#include <gtest/gtest.h>
#include <random>

using namespace calendar_model;

namespace {

constexpr int kRounds = 20000;

// All of a FILETIME's range, and half of the time the part that a 32-bit time_t holds.
Seconds random_second(std::mt19937_64& random) {
    if (random() % 2 == 0)
        return static_cast<std::int32_t>(random());
    return static_cast<Seconds>(random() / 10000000) - 11644473600;
}

TEST(FileTime, MatchesTheModelInBothDirections) {
    std::mt19937_64 random(1601);
    for (int round = 0; round < kRounds; ++round) {
        const Seconds seconds = random_second(random);
        const int ms = static_cast<int>(random() % 1000);
        const FILETIME given =
            file_time(ticks(seconds, ms) + random() % 10000); // below a millisecond: dropped
        SYSTEMTIME parts = {};
        FILETIME back = {};
        LARGE_INTEGER unsigned_seconds = {};
        // Cut to 32 bits on every target.
        const auto low_half = static_cast<std::int32_t>(seconds);
        ASSERT_EQ(FileTimeToTimeT(given.dwLowDateTime, given.dwHighDateTime), low_half) << seconds;
        RtlSecondsSince1970ToTime(static_cast<DWORD>(seconds), &unsigned_seconds);
        ASSERT_EQ(unsigned_seconds.QuadPart, static_cast<LONGLONG>(ticks(static_cast<DWORD>(seconds))));
        ASSERT_EQ(FileTimeToSystemTime(&given, &parts), fits_time_t(seconds)) << seconds;
        if (!fits_time_t(seconds))
            continue;
        ASSERT_EQ(TimeTToFileTime(&back, static_cast<time_t>(seconds)), &back);
        ASSERT_EQ(ticks(back), ticks(seconds));
        const SYSTEMTIME expected = system_time(seconds, ms);
        ASSERT_EQ(memcmp(&parts, &expected, sizeof parts), 0) << seconds;
        parts.wDayOfWeek = 77; // ignored
        ASSERT_TRUE(SystemTimeToFileTime(&parts, &back)) << seconds;
        ASSERT_EQ(ticks(back), ticks(seconds, ms)) << seconds;
    }
}

TEST(FileTime, UncheckedFieldsCarryOver) {
    const struct {
        SYSTEMTIME given;
        std::uint64_t expected;
    } cases[] = {
        {{1970, 1, 0, 1, 0, 0, 0, 1}, 116444736000010000},
        {{1969, 12, 0, 31, 23, 59, 59, 0}, 116444735990000000}, // time_t -1 is no failure
        {{2025, 13, 0, 1, 0, 0, 0, 0}, ticks(seconds_of(2026, 1, 1, 0, 0, 0))},
        {{2026, 3, 0, 0, 0, 0, 0, 0}, ticks(seconds_of(2026, 2, 28, 0, 0, 0))},
        {{2026, 0, 0, 1, 25, 61, 61, 65535}, ticks(seconds_of(2025, 12, 2, 2, 2, 1), 65535)},
    };
    for (const auto& c : cases) {
        FILETIME time = {};
        EXPECT_TRUE(SystemTimeToFileTime(&c.given, &time));
        EXPECT_EQ(ticks(time), c.expected);
    }
}

TEST(FileTime, TimesBeyondTimeTAreReportedAndNothingIsStored) {
    constexpr BOOL fits = sizeof(std::time_t) > 4;
    const ScopedZone utc("UTC0");
    const SYSTEMTIME later = {2038, 1, 0, 19, 3, 14, 8, 0};
    const FILETIME beyond = file_time(ticks(std::int64_t{1} << 31));
    SYSTEMTIME parts = {};
    EXPECT_EQ(FileTimeToSystemTime(&beyond, &parts), fits);
    EXPECT_EQ(parts.wYear, fits ? 2038 : 0);
    FILETIME results[3] = {};
    EXPECT_EQ(SystemTimeToFileTime(&later, &results[0]), fits);
    EXPECT_EQ(FileTimeToLocalFileTime(&beyond, &results[1]), fits);
    EXPECT_EQ(LocalFileTimeToFileTime(&beyond, &results[2]), fits);
    for (const FILETIME& result : results)
        EXPECT_EQ(ticks(result), fits ? ticks(beyond) : 0);
}

TEST(FileTime, LocalTimesFollowTheRulesOfTheirDate) {
    std::mt19937_64 random(25569);
    for (std::size_t zone = 0; zone < ARRAYSIZE(kZones); ++zone) {
        const ScopedZone scoped(kZones[zone]);
        for (int round = 0; round < kRounds / 10; ++round) {
            const auto utc = static_cast<Seconds>(random() % (std::uint64_t{INT32_MAX} - 20000));
            const FILETIME given = file_time(ticks(utc) + random() % 10000000); // the fraction is dropped
            const Seconds ahead = standard_offset(zone) + (is_daylight(zone, utc) ? 3600 : 0);
            FILETIME local = {};
            ASSERT_TRUE(FileTimeToLocalFileTime(&given, &local));
            ASSERT_EQ(ticks(local), ticks(utc + ahead)) << kZones[zone] << ' ' << utc;
            // Back again every local time counts as standard time.
            FILETIME back = {};
            ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
            ASSERT_EQ(ticks(back), ticks(utc + ahead - standard_offset(zone))) << kZones[zone] << ' ' << utc;
        }
    }
}

TEST(FileTime, TheLocalSecondBefore1970IsTakenForFailure) {
    const ScopedZone india("IST-5:30");
    const FILETIME local = file_time(ticks(19800 - 1)), next = file_time(ticks(19800));
    FILETIME time = {};
    EXPECT_FALSE(LocalFileTimeToFileTime(&local, &time));
    EXPECT_TRUE(LocalFileTimeToFileTime(&next, &time));
    EXPECT_EQ(ticks(time), ticks(0));
}

TEST(FileTime, NullIsRefused) {
    FILETIME time = {};
    SYSTEMTIME parts = {};
    EXPECT_FALSE(SystemTimeToFileTime(nullptr, &time));
    EXPECT_FALSE(SystemTimeToFileTime(&parts, nullptr));
    EXPECT_FALSE(FileTimeToSystemTime(nullptr, &parts));
    EXPECT_FALSE(FileTimeToSystemTime(&time, nullptr));
    EXPECT_FALSE(FileTimeToLocalFileTime(nullptr, &time));
    EXPECT_FALSE(FileTimeToLocalFileTime(&time, nullptr));
    EXPECT_FALSE(LocalFileTimeToFileTime(nullptr, &time));
    EXPECT_FALSE(LocalFileTimeToFileTime(&time, nullptr));
    EXPECT_EQ(TimeTToFileTime(nullptr, 0), nullptr);
    RtlSecondsSince1970ToTime(0, nullptr);
}

} // namespace
