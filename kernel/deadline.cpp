#include "kernel/deadline.h"

#include <limits>

int WSAEINTR = 4;

namespace kalto {

constexpr LONG kNanosecondsInAMillisecond = 1000000;
constexpr LONG kNanosecondsInASecond = 1000000000;

// A moment beyond what the platform can express is its last one.
static time_t fitted(int64_t seconds) {
    constexpr int64_t last = std::numeric_limits<time_t>::max();
    return static_cast<time_t>(seconds > last ? last : seconds);
}

} // namespace kalto

int GetTimeOutTime(struct timespec* abstime, DWORD ms) {
    if (abstime == nullptr || clock_gettime(CLOCK_REALTIME, abstime) != 0)
        return -1;
    // Deliberate: the time-out is signed, so that one of 0x80000000 or more lies in the past.
    const auto offset = static_cast<int32_t>(ms);
    int64_t seconds = static_cast<int64_t>(abstime->tv_sec) + offset / 1000;
    long nanoseconds = abstime->tv_nsec + offset % 1000 * kalto::kNanosecondsInAMillisecond;
    if (nanoseconds > kalto::kNanosecondsInASecond - 1) {
        ++seconds;
        nanoseconds -= kalto::kNanosecondsInASecond;
    } else if (nanoseconds < 0) {
        --seconds;
        nanoseconds += kalto::kNanosecondsInASecond;
    }
    abstime->tv_sec = kalto::fitted(seconds);
    abstime->tv_nsec = nanoseconds;
    return 0;
}
