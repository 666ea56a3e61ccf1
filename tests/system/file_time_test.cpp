// FILETIME, SYSTEMTIME, time_t and OLE dates, against a calendar of the tests' own and over the whole range
// of time_t.
#include "tests/system/calendar_model.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr HRESULT kOutOfRange = 22;
constexpr HRESULT kFailed = -1;
constexpr bool kWide = sizeof(std::time_t) > 4;

double ole_date(Seconds seconds) {
    return static_cast<double>(seconds) / 86400.0 + 25569.0;
}

bool fits_time_t(Seconds seconds) {
    return kWide || static_cast<std::int32_t>(seconds) == seconds;
}

void expect_file_time(const Moment& moment) {
    const Seconds seconds = moment.seconds;
    const bool fits = fits_time_t(seconds);
    const ULONGLONG exact = ticks(seconds) + moment.parts.wMilliseconds * 10000u;
    const FILETIME file = file_time(exact + 9999); // below a millisecond: dropped
    SYSTEMTIME parts = {};
    FILETIME back = {}, local = {}, standard = {};
    LARGE_INTEGER unsigned_seconds = {};
    // Cut to 32 bits on every target.
    EXPECT_EQ(FileTimeToTimeT(file.dwLowDateTime, file.dwHighDateTime), static_cast<std::int32_t>(seconds));
    RtlSecondsSince1970ToTime(static_cast<DWORD>(seconds), &unsigned_seconds);
    EXPECT_EQ(unsigned_seconds.QuadPart, static_cast<LONGLONG>(ticks(static_cast<DWORD>(seconds))));
    EXPECT_EQ(FileTimeToSystemTime(&file, &parts), fits) << seconds;
    EXPECT_TRUE(!fits || same(parts, moment.parts)) << seconds;
    EXPECT_EQ(FileTimeToLocalFileTime(&file, &local), fits);
    EXPECT_EQ(ticks(local), fits ? ticks(seconds) : 0);
    EXPECT_EQ(LocalFileTimeToFileTime(&file, &standard), fits && seconds != -1);
    EXPECT_EQ(ticks(standard), fits && seconds != -1 ? ticks(seconds) : 0);
    EXPECT_EQ(SystemTimeToFileTime(&moment.parts, &back), fits);
    EXPECT_EQ(ticks(back), fits ? exact : 0);
    if (fits) {
        EXPECT_EQ(TimeTToFileTime(&back, static_cast<time_t>(seconds)), &back);
        EXPECT_EQ(ticks(back), ticks(seconds));
    }
}

void expect_ole_date(const Moment& moment) {
    UDATE date = {}, expected = {moment.parts, moment.day_of_year};
    ++expected.st.wDayOfWeek; // Sunday is 1
    expected.st.wMilliseconds = 0;
    const bool fits = fits_time_t(moment.seconds);
    // A date before 1970 is cut towards it: half a second up, and the fraction then dropped.
    const double given = ole_date(moment.seconds < 0 ? moment.seconds - 1 : moment.seconds);
    EXPECT_EQ(VarUdateFromDate(given, 0, &date), fits ? 0 : kFailed);
    EXPECT_TRUE(!fits || memcmp(&date, &expected, sizeof date) == 0) << moment.seconds;
}

TEST(FileTime, AnyMomentIsTheSameInEveryForm) {
    enter_zone("UTC0");
    std::mt19937_64 random(1601);
    for (int round = 0; round < 4000 && !HasFailure(); ++round) {
        expect_file_time(random_moment(random, 1601, 30000));
        expect_ole_date(random_moment(random, 101, 9998));
    }
}

TEST(FileTime, MomentsAtTheEdgesAreTheSameInEveryForm) {
    const Moment moments[] = {
        {{1601, 1, 1, 1, 0, 0, 0, 999}, 0, -11644473600},    {{1902, 3, 6, 1, 0, 0, 0, 7}, 59, -2140819200},
        {{1969, 12, 3, 31, 23, 59, 59, 999}, 364, -1},       {{2000, 2, 2, 29, 23, 59, 59, 0}, 59, 951868799},
        {{2037, 12, 4, 31, 12, 0, 0, 123}, 364, 2145873600}, {{2040, 2, 3, 29, 0, 0, 0, 1}, 59, 2214086400},
        {{9998, 12, 4, 31, 1, 2, 3, 4}, 364, 253370682123},
    };
    enter_zone("UTC0");
    for (const Moment& moment : moments) {
        expect_file_time(moment);
        expect_ole_date(moment);
    }
    const SYSTEMTIME unchecked = {2026, 0, 0, 1, 25, 61, 61, 65535}; // carry over
    FILETIME file = {};
    EXPECT_TRUE(SystemTimeToFileTime(&unchecked, &file));
    EXPECT_EQ(ticks(file), ticks(1764640921) + 655350000);
    SYSTEMTIME parts = {};
    EXPECT_FALSE(SystemTimeToFileTime(nullptr, &file) || FileTimeToSystemTime(nullptr, &parts));
    EXPECT_FALSE(FileTimeToLocalFileTime(nullptr, &file) || LocalFileTimeToFileTime(nullptr, &file));
    EXPECT_EQ(TimeTToFileTime(nullptr, 0), nullptr);
}

TEST(FileTime, LocalTimesFollowTheRulesOfTheirDateAndComeBackAsStandardTime) {
    for (const char* zone : kZones) {
        enter_zone(zone);
        for (Seconds utc = 500000000; utc < INT32_MAX - 20000; utc += 2000003) { // a good three weeks
            const FILETIME given = file_time(ticks(utc) + 9990000);              // the fraction is dropped
            const Offset offset = offset_at(utc);
            FILETIME local = {}, back = {};
            ASSERT_TRUE(FileTimeToLocalFileTime(&given, &local));
            ASSERT_EQ(ticks(local), ticks(utc + offset.ahead)) << zone << ' ' << utc;
            ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
            ASSERT_EQ(ticks(back), ticks(utc + offset.summer)) << zone << ' ' << utc;
            // An OLE date is read as that local moment; the hours around a change of the clocks are
            // ambiguous, or do not exist.
            time_t time = 0;
            ASSERT_EQ(ConvertVariantTimeToTimeT(ole_date(utc + offset.ahead), &time), 0);
            ASSERT_TRUE(time == utc || offset_at(utc - 7200).summer != offset_at(utc + 7200).summer) << utc;
        }
    }
}

TEST(FileTime, TheSecondBefore1970IsTakenForFailure) {
    enter_zone("IST-5:30");
    const FILETIME local = file_time(ticks(19800 - 1)), next = file_time(ticks(19800));
    FILETIME file = {};
    EXPECT_FALSE(LocalFileTimeToFileTime(&local, &file));
    EXPECT_TRUE(LocalFileTimeToFileTime(&next, &file));
    time_t time = 0;
    EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(19800 - 1), &time), kFailed);
    EXPECT_EQ(time, -1);
    EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(19800 - 2), &time), 0);
    EXPECT_EQ(time, -2);
}

TEST(OleDate, LimitsOfTheRange) {
    constexpr double kLast = 50424.134803240740; // 2038-01-19 03:14:07
    const HRESULT beyond_32_bits = kWide ? 0 : kFailed;
    const struct {
        double date;
        HRESULT apart, to_time_t;
    } cases[] = {
        {-657435.0, kOutOfRange, kOutOfRange},
        {std::nextafter(-657435.0, 0.0), beyond_32_bits, kOutOfRange},
        {std::nextafter(2958466.0, 0.0), beyond_32_bits, kOutOfRange},
        {2958466.0, kOutOfRange, kOutOfRange},
        {std::nan(""), kOutOfRange, kOutOfRange},
        {std::nextafter(25569.0, 0.0), 0, kOutOfRange},
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
    EXPECT_EQ(VarUdateFromDate(25569.0, 0, nullptr) + ConvertVariantTimeToTimeT(25569.0, nullptr), 44);
    enter_zone("EST5"); // where the last moment is later than a 32-bit time_t holds
    time_t time = 0;
    EXPECT_EQ(ConvertVariantTimeToTimeT(kLast, &time), beyond_32_bits);
}

} // namespace
