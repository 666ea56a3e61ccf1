// Time zones by rule.
#ifndef TESTS_SYSTEM_ZONES_H
#define TESTS_SYSTEM_ZONES_H

#include "tests/fs/times.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <kalto/system.h>

using Seconds = std::int64_t; // since 1970-01-01 00:00:00

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

#endif
