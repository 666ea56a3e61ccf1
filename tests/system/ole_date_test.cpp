// OLE automation dates.
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
    for (const char* zone : kZones) {
        const ScopedZone scoped(zone);
        for (Seconds utc = 86400; utc < INT32_MAX - 86400; utc += 2000003) {
            // The hours around a change of the clocks are ambiguous, or do not exist.
            const Offset offset = offset_at(utc);
            if (offset_at(utc - 7200).summer != offset.summer ||
                offset_at(utc + 7200).summer != offset.summer)
                continue;
            time_t time = 0;
            ASSERT_EQ(ConvertVariantTimeToTimeT(ole_date(utc + offset.ahead), &time), 0);
            ASSERT_EQ(time, utc) << zone;
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
