// Broken-down times, file times and seconds: what the time calls share.
#include "system/calendar.h"

#include <limits>

namespace kalto {

static_assert(sizeof(SYSTEMTIME) == 16 && sizeof(UDATE) == 18 && sizeof(FILETIME) == 8,
              "records of the interface");
static_assert(sizeof(TIME_ZONE_INFORMATION) == 300, "record of the interface");

static std::mutex time_zone_mutex;

TimeZoneLock::TimeZoneLock() : guard_(time_zone_mutex) {}

std::uint64_t ticks_of(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

void store_ticks(FILETIME* time, std::uint64_t ticks) {
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

std::uint64_t ticks_of_unix_time(std::int64_t seconds, std::int64_t microseconds) {
    const auto since_1601 =
        static_cast<std::uint64_t>(seconds) + static_cast<std::uint64_t>(kSecondsFrom1601);
    return (since_1601 * 1000000 + static_cast<std::uint64_t>(microseconds)) * 10;
}

bool unix_seconds(const FILETIME& time, std::time_t* seconds) {
    const std::int64_t wide = static_cast<std::int64_t>(ticks_of(time) / kTicksPerSecond) - kSecondsFrom1601;
    if (wide < std::numeric_limits<std::time_t>::min() || wide > std::numeric_limits<std::time_t>::max())
        return false;
    *seconds = static_cast<std::time_t>(wide);
    return true;
}

std::tm broken_down(const SYSTEMTIME& time) {
    std::tm parts = {};
    parts.tm_year = time.wYear - 1900;
    parts.tm_mon = time.wMonth - 1;
    parts.tm_wday = time.wDayOfWeek;
    parts.tm_mday = time.wDay;
    parts.tm_hour = time.wHour;
    parts.tm_min = time.wMinute;
    parts.tm_sec = time.wSecond;
    parts.tm_isdst = -1;
    return parts;
}

void fill_system_time(SYSTEMTIME* time, const std::tm& parts, long microseconds) {
    time->wYear = static_cast<WORD>(parts.tm_year + 1900);
    time->wMonth = static_cast<WORD>(parts.tm_mon + 1);
    time->wDayOfWeek = static_cast<WORD>(parts.tm_wday);
    time->wDay = static_cast<WORD>(parts.tm_mday);
    time->wHour = static_cast<WORD>(parts.tm_hour);
    time->wMinute = static_cast<WORD>(parts.tm_min);
    time->wSecond = static_cast<WORD>(parts.tm_sec);
    time->wMilliseconds = static_cast<WORD>(microseconds / 1000);
}

// The conversions set the day of the week on success alone; their result does not tell failure, nor errno for
// sure.
constexpr int kNoWeekday = -1;

bool seconds_of_utc(std::tm parts, std::time_t* seconds) {
    parts.tm_wday = kNoWeekday;
    *seconds = timegm(&parts);
    return parts.tm_wday != kNoWeekday;
}

bool seconds_of_local(std::tm parts, std::time_t* seconds) {
    parts.tm_wday = kNoWeekday;
    *seconds = std::mktime(&parts);
    return parts.tm_wday != kNoWeekday;
}

} // namespace kalto
