// Conversions between FILETIME, SYSTEMTIME and time_t.
#include "system/calendar.h"

using namespace kalto;

time_t FileTimeToTimeT(DWORD dwLowDateTime, DWORD dwHighDateTime) {
    // Deliberate: the difference is taken modulo 2^32 and read as signed, also where time_t is wider, so that
    // applications get one and the same number on every target.
    const std::uint64_t seconds = ticks_of({dwLowDateTime, dwHighDateTime}) / kTicksPerSecond;
    const auto low = static_cast<std::uint32_t>(seconds) + std::uint32_t{0x49EF6F00};
    return static_cast<std::int32_t>(low);
}

LPFILETIME TimeTToFileTime(LPFILETIME lpFileTime, time_t t) {
    if (lpFileTime != nullptr)
        store_ticks(lpFileTime, ticks_of_unix_time(t, 0));
    return lpFileTime;
}

void RtlSecondsSince1970ToTime(DWORD dwSeconds, LARGE_INTEGER* lpTime) {
    if (lpTime != nullptr)
        lpTime->QuadPart = static_cast<LONGLONG>(ticks_of_unix_time(dwSeconds, 0));
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime) {
    if (lpSystemTime == nullptr || lpFileTime == nullptr)
        return FALSE;
    std::time_t seconds = 0;
    if (!seconds_of_utc(broken_down(*lpSystemTime), &seconds))
        return FALSE;
    store_ticks(lpFileTime, ticks_of_unix_time(seconds, lpSystemTime->wMilliseconds * 1000L));
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime) {
    if (lpFileTime == nullptr || lpSystemTime == nullptr)
        return FALSE;
    std::time_t seconds = 0;
    std::tm parts = {};
    if (!unix_seconds(*lpFileTime, &seconds) || gmtime_r(&seconds, &parts) == nullptr)
        return FALSE;
    fill_system_time(lpSystemTime, parts, static_cast<long>(ticks_of(*lpFileTime) % kTicksPerSecond / 10));
    return TRUE;
}

// The seconds are taken whole, not cut to 32 bits as FileTimeToTimeT does: a wider time_t converts later
// dates correctly, and one that cannot hold them is reported.
BOOL FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime) {
    if (lpFileTime == nullptr || lpLocalFileTime == nullptr)
        return FALSE;
    std::time_t seconds = 0;
    std::tm parts = {};
    if (!unix_seconds(*lpFileTime, &seconds))
        return FALSE;
    {
        const TimeZoneLock lock;
        if (localtime_r(&seconds, &parts) == nullptr)
            return FALSE;
    }
    if (!seconds_of_utc(parts, &seconds))
        return FALSE;
    TimeTToFileTime(lpLocalFileTime, seconds);
    return TRUE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime) {
    if (lpLocalFileTime == nullptr || lpFileTime == nullptr)
        return FALSE;
    std::time_t seconds = 0;
    std::tm parts = {};
    if (!unix_seconds(*lpLocalFileTime, &seconds) || gmtime_r(&seconds, &parts) == nullptr)
        return FALSE;
    // Deliberate: gmtime_r says "not daylight-saving time", and mktime is told so: every local time is taken
    // as standard time, as applications that store such times expect of a time written earlier.
    {
        const TimeZoneLock lock;
        seconds = std::mktime(&parts);
    }
    // Deliberate: -1 is failure even where it is the right answer, so that no caller takes a failure for a
    // time.
    if (seconds == -1)
        return FALSE;
    TimeTToFileTime(lpFileTime, seconds);
    return TRUE;
}
