// A model of the calendar that shares nothing with the C library: it counts leap years, and searches.
#ifndef TESTS_SYSTEM_CALENDAR_MODEL_H
#define TESTS_SYSTEM_CALENDAR_MODEL_H

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <kalto/system.h>
#include <limits>
#include <string>

namespace calendar_model {

using Seconds = std::int64_t; // since 1970-01-01 00:00:00

struct Moment {
    int year, month, day, hour, minute, second, weekday, day_of_year;
};

inline bool is_leap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days from 0000-01-01 to the first of a year; years from 0 on.
inline std::int64_t days_before_year(std::int64_t year) {
    const std::int64_t last = year - 1;
    return year == 0 ? 0 : 366 + last * 365 + last / 4 - last / 100 + last / 400;
}

inline int days_of_month(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}

inline Seconds seconds_of(int year, int month, int day, int hour, int minute, int second) {
    std::int64_t days = days_before_year(year) - days_before_year(1970) + day - 1;
    for (int m = 1; m < month; ++m)
        days += days_of_month(year, m);
    return days * 86400 + hour * 3600 + minute * 60 + second;
}

inline Moment moment_of(Seconds seconds) {
    std::int64_t days = seconds / 86400, rest = seconds % 86400;
    if (rest < 0) {
        --days;
        rest += 86400;
    }
    days += days_before_year(1970);
    int low = 0, high = 70000; // low's first day is not after the day, high's is
    while (high - low > 1) {
        const int middle = (low + high) / 2;
        (days_before_year(middle) <= days ? low : high) = middle;
    }
    Moment moment = {low, 1, 0, 0, 0, 0, static_cast<int>((days + 6) % 7), 0};
    auto left = static_cast<int>(days - days_before_year(low));
    moment.day_of_year = left;
    for (; left >= days_of_month(low, moment.month); ++moment.month)
        left -= days_of_month(low, moment.month);
    moment.day = left + 1;
    moment.hour = static_cast<int>(rest / 3600);
    moment.minute = static_cast<int>(rest / 60 % 60);
    moment.second = static_cast<int>(rest % 60);
    return moment;
}

inline SYSTEMTIME system_time(Seconds seconds, int milliseconds) {
    const Moment m = moment_of(seconds);
    const auto word = [](int value) { return static_cast<WORD>(value); };
    return {word(m.year), word(m.month),  word(m.weekday), word(m.day),
            word(m.hour), word(m.minute), word(m.second),  word(milliseconds)};
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

// Time zones by rule, so that no zone database is needed: Central Europe, India, New York, and UTC itself.
inline const char* const kZones[] = {"CET-1CEST,M3.5.0,M10.5.0/3", "IST-5:30", "EST5EDT,M3.2.0,M11.1.0",
                                     "UTC0"};

class ScopedZone {
  public:
    explicit ScopedZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ScopedZone(const ScopedZone&) = delete;
    ScopedZone& operator=(const ScopedZone&) = delete;
    ~ScopedZone() {
        unsetenv("TZ");
        tzset();
    }
};

// What the zone's clocks are ahead of UTC at a moment: the rules again, worked out by the model.
inline Seconds nth_sunday(int year, int month, int nth) { // the first day of it; nth 5 is the last one
    const int count = days_of_month(year, month);
    int day = nth == 5 ? count - 6 : (nth - 1) * 7 + 1;
    while (moment_of(seconds_of(year, month, day, 0, 0, 0)).weekday != 0)
        ++day;
    return seconds_of(year, month, day, 0, 0, 0);
}

inline Seconds standard_offset(std::size_t zone) {
    static const Seconds offsets[] = {3600, 19800, -18000, 0};
    return offsets[zone];
}

inline bool is_daylight(std::size_t zone, Seconds utc) {
    const int year = moment_of(utc).year;
    if (zone == 0)
        return utc >= nth_sunday(year, 3, 5) + 3600 && utc < nth_sunday(year, 10, 5) + 3600;
    return zone == 2 && utc >= nth_sunday(year, 3, 2) + 7 * 3600 && utc < nth_sunday(year, 11, 1) + 6 * 3600;
}

} // namespace calendar_model

#endif
