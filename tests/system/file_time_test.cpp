// FILETIME, SYSTEMTIME, time_t and OLE dates, against a calendar of the tests' own and over the whole range
// of time_t.
#include "calendar_model.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace calendar_model;

namespace {

constexpr HRESULT kOutOfRange = 22;
constexpr HRESULT kFailed = -1;

double ole_date(Seconds seconds) {
    return static_cast<double>(seconds) / 86400.0 + 25569.0;
}

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

TEST(FileTime, TimesBeyondTimeTAndNullAreReportedAndNothingIsStored) {
    constexpr BOOL fits = sizeof(std::time_t) > 4;
    enter_zone("UTC0");
    const SYSTEMTIME later = {2038, 1, 0, 19, 3, 14, 8, 0};
    const FILETIME beyond = file_time(ticks(std::int64_t{1} << 31));
    SYSTEMTIME parts = {};
    EXPECT_EQ(FileTimeToSystemTime(&beyond, &parts), fits);
    EXPECT_EQ(parts.wYear, fits ? 2038 : 0);
    FILETIME results[3] = {};
    EXPECT_EQ(SystemTimeToFileTime(&later, &results[0]), fits);
    EXPECT_EQ(FileTimeToLocalFileTime(&beyond, &results[1]), fits);
    EXPECT_EQ(LocalFileTimeToFileTime(&beyond, &results[2]), fits);
    for (FILETIME& result : results) {
        EXPECT_EQ(ticks(result), fits ? ticks(beyond) : 0);
        EXPECT_FALSE(SystemTimeToFileTime(nullptr, &result) || SystemTimeToFileTime(&parts, nullptr));
        EXPECT_FALSE(FileTimeToSystemTime(nullptr, &parts) || FileTimeToSystemTime(&beyond, nullptr));
    }
    for (const auto& convert : {FileTimeToLocalFileTime, LocalFileTimeToFileTime})
        EXPECT_FALSE(convert(nullptr, &results[0]) || convert(&beyond, nullptr));
    EXPECT_EQ(TimeTToFileTime(nullptr, 0), nullptr);
    RtlSecondsSince1970ToTime(0, nullptr);
}

TEST(FileTime, LocalTimesFollowTheRulesOfTheirDateAndComeBackAsStandardTime) {
    for (const char* zone : kZones) {
        enter_zone(zone);
        for (Seconds utc = 500000000; utc < INT32_MAX - 20000; utc += 2000003) { // a good three weeks
            const FILETIME given = file_time(ticks(utc, 999));                   // the fraction is dropped
            const Offset offset = offset_at(utc);
            FILETIME local = {}, back = {};
            ASSERT_TRUE(FileTimeToLocalFileTime(&given, &local));
            ASSERT_EQ(ticks(local), ticks(utc + offset.ahead)) << zone << ' ' << utc;
            ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
            ASSERT_EQ(ticks(back), ticks(utc + offset.summer)) << zone << ' ' << utc;
            // An OLE date is read as that local moment; the hours around a change of the clocks are
            // ambiguous, or do not exist.
            if (offset_at(utc - 7200).summer != offset.summer ||
                offset_at(utc + 7200).summer != offset.summer)
                continue;
            time_t time = 0;
            ASSERT_EQ(ConvertVariantTimeToTimeT(ole_date(utc + offset.ahead), &time), 0);
            ASSERT_EQ(time, utc) << zone;
        }
    }
}

TEST(FileTime, TheSecondBefore1970IsTakenForFailure) {
    enter_zone("IST-5:30");
    const FILETIME local = file_time(ticks(19800 - 1)), next = file_time(ticks(19800));
    FILETIME file = {};
    EXPECT_FALSE(LocalFileTimeToFileTime(&local, &file));
    EXPECT_TRUE(LocalFileTimeToFileTime(&next, &file));
    EXPECT_EQ(ticks(file), ticks(0));
    time_t time = 0;
    EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(19800 - 1), &time), kFailed);
    EXPECT_EQ(time, -1);
    EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(19800 - 2), &time), 0);
    EXPECT_EQ(time, -2);
}

TEST(OleDate, TakenApartMatchesTheModel) {
    std::mt19937_64 random(1899);
    for (int round = 0; round < 4000; ++round) {
        const Moment moment = random_moment(random, 101, 9998);
        // A date before 1970 is cut towards it: half a second up, and the fraction then dropped.
        const double given = ole_date(moment.seconds < 0 ? moment.seconds - 1 : moment.seconds);
        UDATE date = {};
        ASSERT_EQ(VarUdateFromDate(given, 0, &date), fits_time_t(moment.seconds) ? 0 : kFailed);
        if (!fits_time_t(moment.seconds))
            continue;
        UDATE expected = {moment.parts, moment.day_of_year};
        ++expected.st.wDayOfWeek; // Sunday is 1
        expected.st.wMilliseconds = 0;
        ASSERT_EQ(memcmp(&date, &expected, sizeof date), 0) << moment.seconds;
    }
}

TEST(OleDate, LimitsOfTheRange) {
    constexpr double kLast = 50424.134803240740; // 2038-01-19 03:14:07
    const HRESULT beyond_32_bits = sizeof(std::time_t) > 4 ? 0 : kFailed;
    const struct {
        double date;
        HRESULT apart, to_time_t;
    } cases[] = {
        {-657435.0, kOutOfRange, kOutOfRange},
        {std::nextafter(-657435.0, 0.0), beyond_32_bits, kOutOfRange},
        {std::nextafter(2958466.0, 0.0), beyond_32_bits, kOutOfRange},
        {2958466.0, kOutOfRange, kOutOfRange},
        {std::nan(""), kOutOfRange, kOutOfRange},
        {25568.5, 0, kOutOfRange},
        {25569.0, 0, 0},
        {kLast, 0, 0},
        {std::nextafter(kLast, 60000.0), 0, kOutOfRange},
    };
    enter_zone("UTC0");
    for (const auto& c : cases) {
        UDATE date = {};
        time_t time = 42;
        EXPECT_EQ(VarUdateFromDate(c.date, 0, &date), c.apart) << c.date;
        EXPECT_EQ(ConvertVariantTimeToTimeT(c.date, &time), c.to_time_t) << c.date;
        EXPECT_EQ(time == 42, c.to_time_t == kOutOfRange) << c.date;
    }
    EXPECT_EQ(VarUdateFromDate(25569.0, 0, nullptr), kOutOfRange);
    EXPECT_EQ(ConvertVariantTimeToTimeT(25569.0, nullptr), kOutOfRange);
    enter_zone("EST5"); // where the last moment is later than a 32-bit time_t holds
    time_t time = 0;
    EXPECT_EQ(ConvertVariantTimeToTimeT(kLast, &time), beyond_32_bits);
}

} // namespace
