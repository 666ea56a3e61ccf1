// FILETIME, SYSTEMTIME and time_t, against a calendar of the tests' own and over the whole range of time_t.
#include "calendar_model.h"

#include <gtest/gtest.h>

using namespace calendar_model;

namespace {

TEST(FileTime, MatchesTheModelInBothDirections) {
    std::mt19937_64 random(1601);
    for (int round = 0; round < 4000; ++round) {
        const Moment given = random_moment(random, 1601, 30000);
        const Seconds seconds = given.seconds;
        const auto exact = ticks(seconds, given.parts.wMilliseconds);
        const FILETIME file = file_time(exact + random() % 10000); // below a millisecond: dropped
        SYSTEMTIME parts = {};
        FILETIME back = {};
        LARGE_INTEGER unsigned_seconds = {};
        // Cut to 32 bits on every target.
        ASSERT_EQ(FileTimeToTimeT(file.dwLowDateTime, file.dwHighDateTime),
                  static_cast<std::int32_t>(seconds));
        RtlSecondsSince1970ToTime(static_cast<DWORD>(seconds), &unsigned_seconds);
        ASSERT_EQ(unsigned_seconds.QuadPart, static_cast<LONGLONG>(ticks(static_cast<DWORD>(seconds))));
        ASSERT_EQ(FileTimeToSystemTime(&file, &parts), fits_time_t(seconds)) << seconds;
        if (!fits_time_t(seconds))
            continue;
        ASSERT_EQ(TimeTToFileTime(&back, static_cast<time_t>(seconds)), &back);
        ASSERT_EQ(ticks(back), ticks(seconds));
        ASSERT_TRUE(same(parts, given.parts)) << seconds;
        parts.wDayOfWeek = 77; // ignored
        ASSERT_TRUE(SystemTimeToFileTime(&parts, &back)) << seconds;
        ASSERT_EQ(ticks(back), exact);
    }
}

TEST(FileTime, UncheckedFieldsCarryOver) {
    const struct {
        SYSTEMTIME given;
        std::uint64_t expected;
    } cases[] = {
        {{1969, 12, 0, 31, 23, 59, 59, 0}, 116444735990000000}, // time_t -1 is no failure
        {{2025, 13, 0, 1, 0, 0, 0, 0}, ticks(1767225600)},      // 2026-01-01
        {{2026, 3, 0, 0, 0, 0, 0, 0}, ticks(1772236800)},       // 2026-02-28
        {{2026, 0, 0, 1, 25, 61, 61, 65535}, ticks(1764640921, 65535)},
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

TEST(FileTime, LocalTimesFollowTheRulesOfTheirDateAndComeBackAsStandardTime) {
    for (const char* zone : kZones) {
        const ScopedZone scoped(zone);
        for (Seconds utc = 500000000; utc < INT32_MAX - 20000; utc += 2000003) { // a good three weeks
            const FILETIME given = file_time(ticks(utc, 999));                   // the fraction is dropped
            const Offset offset = offset_at(utc);
            FILETIME local = {}, back = {};
            ASSERT_TRUE(FileTimeToLocalFileTime(&given, &local));
            ASSERT_EQ(ticks(local), ticks(utc + offset.ahead)) << zone << ' ' << utc;
            ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
            ASSERT_EQ(ticks(back), ticks(utc + offset.summer)) << zone << ' ' << utc;
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
    EXPECT_FALSE(SystemTimeToFileTime(nullptr, &time) || SystemTimeToFileTime(&parts, nullptr));
    EXPECT_FALSE(FileTimeToSystemTime(nullptr, &parts) || FileTimeToSystemTime(&time, nullptr));
    EXPECT_FALSE(FileTimeToLocalFileTime(nullptr, &time) || FileTimeToLocalFileTime(&time, nullptr));
    EXPECT_FALSE(LocalFileTimeToFileTime(nullptr, &time) || LocalFileTimeToFileTime(&time, nullptr));
    EXPECT_EQ(TimeTToFileTime(nullptr, 0), nullptr);
    RtlSecondsSince1970ToTime(0, nullptr);
}

} // namespace
