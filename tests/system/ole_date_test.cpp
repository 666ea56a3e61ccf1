// OLE automation dates.
#include "calendar_model.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace calendar_model;

namespace {

constexpr HRESULT kOutOfRange = 22;
constexpr HRESULT kFailed = -1;

double ole_date(Seconds seconds) {
    return static_cast<double>(seconds) / 86400.0 + 25569.0;
}

TEST(OleDate, TakenApartMatchesTheModel) {
    std::mt19937_64 random(1899);
    for (int round = 0; round < 20000; ++round) {
        // Any date of the interface, and half of the time the ones that a 32-bit time_t holds.
        const Seconds seconds = round % 2 == 0 ? static_cast<std::int32_t>(random())
                                               : seconds_of(101, 1, 1, 0, 0, 0) +
                                                     static_cast<Seconds>(random() % (9898LL * 365 * 86400));
        // A date before 1970 is cut towards it: half a second up, and the fraction then dropped.
        const Seconds rounded = seconds < 0 ? seconds + 1 : seconds;
        UDATE date = {};
        const HRESULT result = VarUdateFromDate(ole_date(seconds), 0, &date);
        if (!fits_time_t(seconds)) {
            ASSERT_EQ(result, kFailed) << seconds;
            continue;
        }
        ASSERT_EQ(result, 0) << seconds;
        UDATE expected = {system_time(rounded, 0), static_cast<WORD>(moment_of(rounded).day_of_year)};
        ++expected.st.wDayOfWeek; // Sunday is 1
        ASSERT_EQ(memcmp(&date, &expected, sizeof date), 0) << seconds;
    }
}

TEST(OleDate, LimitsOfTheRange) {
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
        {-HUGE_VAL, kOutOfRange, kOutOfRange},
        {25568.5, 0, kOutOfRange},
        {25569.0, 0, 0},
        {50424.134803240740, 0, 0}, // 2038-01-19 03:14:07
        {std::nextafter(50424.134803240740, 60000.0), 0, kOutOfRange},
        {50424.134815, beyond_32_bits, kOutOfRange},
    };
    const ScopedZone utc("UTC0");
    for (const auto& c : cases) {
        UDATE date = {};
        time_t time = 42;
        EXPECT_EQ(VarUdateFromDate(c.date, 0, &date), c.apart) << c.date;
        EXPECT_EQ(ConvertVariantTimeToTimeT(c.date, &time), c.to_time_t) << c.date;
        if (c.to_time_t == kOutOfRange) {
            EXPECT_EQ(time, 42) << c.date;
        }
    }
    EXPECT_EQ(VarUdateFromDate(25569.0, 0, nullptr), kOutOfRange);
    EXPECT_EQ(ConvertVariantTimeToTimeT(25569.0, nullptr), kOutOfRange);
}

TEST(OleDate, BecomesTheTimeOfThatLocalMoment) {
    std::mt19937_64 random(2038);
    for (std::size_t zone = 0; zone < ARRAYSIZE(kZones); ++zone) {
        const ScopedZone scoped(kZones[zone]);
        for (int round = 0; round < 2000; ++round) {
            const auto utc = static_cast<Seconds>(86400 + random() % (std::uint64_t{INT32_MAX} - 2 * 86400));
            // The hours around a change of the clocks are ambiguous, or do not exist.
            const bool daylight = is_daylight(zone, utc);
            if (is_daylight(zone, utc - 7200) != daylight || is_daylight(zone, utc + 7200) != daylight)
                continue;
            const Seconds local = utc + standard_offset(zone) + (daylight ? 3600 : 0);
            time_t time = 0;
            ASSERT_EQ(ConvertVariantTimeToTimeT(ole_date(local), &time), 0);
            ASSERT_EQ(time, utc) << kZones[zone];
        }
    }
}

TEST(OleDate, AMomentWithoutATimeTLeavesMinusOne) {
    time_t time = 0;
    {
        const ScopedZone east("CET-1"); // 1970-01-01 00:59:59 there is -1 itself
        EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(3599), &time), kFailed);
        EXPECT_EQ(time, -1);
        EXPECT_EQ(ConvertVariantTimeToTimeT(ole_date(3598), &time), 0);
        EXPECT_EQ(time, -2);
    }
    if (sizeof(std::time_t) == 4) {
        const ScopedZone west("EST5");
        EXPECT_EQ(ConvertVariantTimeToTimeT(50424.134803240740, &time), kFailed);
        EXPECT_EQ(time, -1);
    }
}

} // namespace
