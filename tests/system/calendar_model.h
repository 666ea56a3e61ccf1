// Moments by a calendar of the tests' own, and time zones by rule.
#ifndef TESTS_SYSTEM_CALENDAR_MODEL_H
#define TESTS_SYSTEM_CALENDAR_MODEL_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <kalto/system.h>
#include <limits>
#include <random>
#include <string>

namespace calendar_model {

using Seconds = std::int64_t; // since 1970-01-01 00:00:00

inline std::int64_t days_before(int year, int month) { // from a Sunday long ago to the first of a month
    static const int before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const std::int64_t leap_year = month > 2 ? year : year - 1; // the last year whose 29 February is past
    return 365 * std::int64_t{year} + leap_year / 4 - leap_year / 100 + leap_year / 400 + before[month - 1];
}

// A moment in both of its forms; the day is at most the 28th.
struct Moment {
    SYSTEMTIME parts;
    Seconds seconds;
    WORD day_of_year;
};

inline Moment moment(const SYSTEMTIME& given) {
    Moment result = {given, 0, 0};
    const std::int64_t days = days_before(given.wYear, given.wMonth) + given.wDay - 1;
    result.parts.wDayOfWeek = static_cast<WORD>(days % 7);
    result.day_of_year = static_cast<WORD>(days - days_before(given.wYear, 1));
    result.seconds =
        (days - days_before(1970, 1)) * 86400 + given.wHour * 3600 + given.wMinute * 60 + given.wSecond;
    return result;
}

// Half of the moments are in the years that a 32-bit time_t holds.
inline Moment random_moment(std::mt19937_64& random, unsigned first_year, unsigned last_year) {
    const auto word = [&](unsigned from, unsigned to) {
        return static_cast<WORD>(from + random() % (to - from + 1));
    };
    const WORD year = random() % 2 == 0 ? word(1902, 2037) : word(first_year, last_year);
    return moment({year, word(1, 12), 0, word(1, 28), word(0, 23), word(0, 59), word(0, 59), word(0, 999)});
}

inline bool fits_time_t(Seconds seconds) {
    return seconds >= std::numeric_limits<std::time_t>::min() &&
           seconds <= std::numeric_limits<std::time_t>::max();
}

inline std::uint64_t ticks(Seconds seconds, int milliseconds = 0) {
    return (static_cast<std::uint64_t>(seconds + 11644473600) * 1000 +
            static_cast<std::uint64_t>(milliseconds)) *
           10000;
}

inline std::uint64_t ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

inline FILETIME file_time(std::uint64_t value) {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

inline bool same(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

// Without a zone database: Central Europe, India, New York, and UTC itself.
inline const char* const kZones[] = {"CET-1CEST,M3.5.0,M10.5.0/3", "IST-5:30", "EST5EDT,M3.2.0,M11.1.0",
                                     "UTC0"};

inline void enter_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

// What the zone's clocks are ahead of UTC at a moment, and how much of that is summer time.
struct Offset {
    Seconds ahead, summer;
};

inline Offset offset_at(Seconds utc) {
    const auto seconds = static_cast<std::time_t>(utc);
    std::tm parts = {};
    localtime_r(&seconds, &parts);
    return {parts.tm_gmtoff, parts.tm_isdst > 0 ? 3600 : 0};
}

} // namespace calendar_model

#endif
