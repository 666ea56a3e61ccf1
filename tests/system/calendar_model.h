// Moments by a calendar of the tests' own, which counts days and knows nothing of the C library's.
#ifndef TESTS_SYSTEM_CALENDAR_MODEL_H
#define TESTS_SYSTEM_CALENDAR_MODEL_H

#include "tests/system/zones.h"

#include <random>

// A moment in its forms; the day of the year counts from 0.
struct Moment {
    SYSTEMTIME parts;
    WORD day_of_year;
    Seconds seconds;
};

inline std::int64_t days_before(int year, int month) { // from a Sunday long ago to the first of a month
    static const int before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const std::int64_t leap_year = month > 2 ? year : year - 1; // the last year whose 29 February is past
    return 365 * std::int64_t{year} + leap_year / 4 - leap_year / 100 + leap_year / 400 + before[month - 1];
}

// The day is at most the 28th. Half of the moments are in the years that a 32-bit time_t holds.
inline Moment random_moment(std::mt19937_64& random, unsigned first_year, unsigned last_year) {
    const auto word = [&](unsigned from, unsigned to) {
        return static_cast<WORD>(from + random() % (to - from + 1));
    };
    const WORD year = random() % 2 == 0 ? word(1902, 2037) : word(first_year, last_year);
    const WORD month = word(1, 12), day = word(1, 28), hour = word(0, 23), minute = word(0, 59);
    const WORD second = word(0, 59);
    const std::int64_t days = days_before(year, month) + day - 1;
    return {{year, month, static_cast<WORD>(days % 7), day, hour, minute, second, word(0, 999)},
            static_cast<WORD>(days - days_before(year, 1)),
            (days - days_before(1970, 1)) * 86400 + hour * 3600 + minute * 60 + second};
}

#endif
