// Reading and setting the clock, and the time zone.
#include "system/calendar.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace kalto;

void GetSystemTime(LPSYSTEMTIME lpSystemTime) {
    if (lpSystemTime == nullptr)
        return;
    timeval now = {};
    std::tm parts = {};
    gettimeofday(&now, nullptr);
    gmtime_r(&now.tv_sec, &parts);
    fill_system_time(lpSystemTime, parts, now.tv_usec);
}

void GetSystemTimeAsFileTime(LPFILETIME lpFileTime) {
    if (lpFileTime == nullptr)
        return;
    timeval now = {};
    gettimeofday(&now, nullptr);
    store_ticks(lpFileTime, ticks_of_unix_time(now.tv_sec, now.tv_usec));
}

// Puts TZ back; entry is "TZ=" and its value, or null where there was none. When there is no memory for a
// copy, the environment gets the entry itself.
static void restore_zone_name(char* entry) {
    if (entry == nullptr) {
        unsetenv("TZ");
    } else if (setenv("TZ", entry + 3, 1) != 0) {
        putenv(entry);
        return;
    }
    std::free(entry);
}

// Makes the C library read the zone file again, which it does only when TZ changes. Needs the lock. TZ is
// never lost: where no copy of it can be made, nothing is reloaded.
static void reload_time_zone() {
    const char* value = std::getenv("TZ");
    char* entry = nullptr;
    if (value != nullptr && asprintf(&entry, "TZ=%s", value) < 0)
        return;
    const bool set_aside = setenv("TZ", ":", 1) == 0;
    tzset();
    if (set_aside)
        restore_zone_name(entry);
    else
        std::free(entry);
    tzset();
}

void GetLocalTime(LPSYSTEMTIME lpSystemTime) {
    if (lpSystemTime == nullptr)
        return;
    timeval now = {};
    std::tm parts = {};
    {
        const TimeZoneLock lock;
        // Deliberate: at every call, for devices whose zone file is replaced while applications run.
        reload_time_zone();
        gettimeofday(&now, nullptr);
        localtime_r(&now.tv_sec, &parts);
    }
    fill_system_time(lpSystemTime, parts, now.tv_usec);
}

static BOOL clock_refused(int error) {
    switch (error) {
    case EPERM:
        SetLastError(ERROR_ACCESS_DENIED);
        break;
    case EINVAL:
        SetLastError(ERROR_INVALID_PARAMETER);
        break;
    default:
        SetLastError(ERROR_GEN_FAILURE);
    }
    return FALSE;
}

static BOOL set_clock(std::time_t seconds, const SYSTEMTIME& time) {
    const WORD milliseconds = time.wMilliseconds <= 999 ? time.wMilliseconds : WORD{999};
    timeval wanted = {};
    wanted.tv_sec = seconds;
    wanted.tv_usec = milliseconds * 1000;
    return settimeofday(&wanted, nullptr) == 0 ? TRUE : clock_refused(errno);
}

BOOL SetSystemTime(const SYSTEMTIME* lpSystemTime) {
    std::time_t seconds = 0;
    if (lpSystemTime == nullptr || !seconds_of_utc(broken_down(*lpSystemTime), &seconds))
        return clock_refused(EINVAL);
    return set_clock(seconds, *lpSystemTime);
}

BOOL SetLocalTime(const SYSTEMTIME* lpSystemTime) {
    if (lpSystemTime == nullptr)
        return clock_refused(EINVAL);
    std::time_t seconds = 0;
    {
        const TimeZoneLock lock;
        if (!seconds_of_local(broken_down(*lpSystemTime), &seconds))
            return clock_refused(EINVAL);
    }
    return set_clock(seconds, *lpSystemTime);
}

// The time, and the kernel's own record of the zone. Newer C libraries answer zeros in its place, so the
// kernel is asked as well.
static void read_clock_and_zone(timeval* now, struct timezone* zone) {
    gettimeofday(now, zone);
#ifdef SYS_gettimeofday
    if (zone->tz_minuteswest == 0)
        syscall(SYS_gettimeofday, nullptr, zone);
#endif
}

DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation) {
    if (lpTimeZoneInformation == nullptr)
        return TIME_ZONE_ID_INVALID;
    timeval now = {};
    struct timezone zone = {};
    read_clock_and_zone(&now, &zone);
    std::tm parts = {};
    {
        const TimeZoneLock lock;
        localtime_r(&now.tv_sec, &parts);
        tzset();
    }
    lpTimeZoneInformation->Bias = zone.tz_minuteswest;
    lpTimeZoneInformation->DaylightBias = 0;
    // Deliberate: these two results in place of the three of Windows; the header's names carry them.
    return parts.tm_isdst > 0 ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* /*lpPerformanceCount*/) {
    return FALSE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency) {
    if (lpFrequency != nullptr)
        lpFrequency->QuadPart = 0;
    return FALSE;
}
