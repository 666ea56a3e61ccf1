// Broken-down times, file times and seconds: what the time calls share.
#ifndef SYSTEM_CALENDAR_H
#define SYSTEM_CALENDAR_H

#include <cstdint>
#include <ctime>
#include <kalto/system.h>
#include <mutex>

namespace kalto {

constexpr std::int64_t kTicksPerSecond = 10000000;     // a tick of a FILETIME is 100 ns
constexpr std::int64_t kSecondsFrom1601 = 11644473600; // to 1970

// Held while the C library's time zone is read or loaded, so that no call of this library sees the moment in
// which GetLocalTime has TZ set aside. Nothing else is locked inside it.
class TimeZoneLock {
  public:
    TimeZoneLock();

  private:
    std::lock_guard<std::mutex> guard_;
};

std::uint64_t ticks_of(const FILETIME& time);
void store_ticks(FILETIME* time, std::uint64_t ticks);

// Ticks of seconds and microseconds since 1970, modulo 2^64.
std::uint64_t ticks_of_unix_time(std::int64_t seconds, std::int64_t microseconds);

// Seconds since 1970 of a file time, the fraction dropped. False when the platform's time_t cannot hold them.
bool unix_seconds(const FILETIME& time, std::time_t* seconds);

// Between the interface's record and the C library's. Nothing is checked; daylight-saving time is left to the
// zone.
std::tm broken_down(const SYSTEMTIME& time);
void fill_system_time(SYSTEMTIME* time, const std::tm& parts, long microseconds);

// timegm and mktime with an answer that tells -1, the second before 1970, from failure.
bool seconds_of_utc(std::tm parts, std::time_t* seconds);
bool seconds_of_local(std::tm parts, std::time_t* seconds);

} // namespace kalto

#endif
