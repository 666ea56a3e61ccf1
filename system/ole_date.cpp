// OLE automation dates: doubles that count days since 1899-12-30 00:00.
#include "system/calendar.h"

#include <limits>

using namespace kalto;

constexpr double kUnixEpoch = 25569.0; // 1970-01-01 as an OLE date
constexpr double kSecondsPerDay = 86400.0;
constexpr HRESULT kOutOfRange = 22;
constexpr auto kConversionFailed = static_cast<HRESULT>(0xFFFFFFFFu);

// Seconds since 1970. Deliberate: half a second is added and the fraction then cut off, so that before 1970 a
// whole second comes out as the next one; applications compare with dates that were made so. The callers have
// limited the date, so that 64 bits hold the result.
static std::int64_t nearest_second(double date) {
    const double rounded = (date - kUnixEpoch) * kSecondsPerDay + 0.5;
    return static_cast<std::int64_t>(rounded);
}

HRESULT VarUdateFromDate(DATE dateIn, ULONG /*dwFlags*/, UDATE* pudateOut) {
    if (pudateOut == nullptr || !(dateIn > -657435.0 && dateIn < 2958466.0))
        return kOutOfRange;
    const std::int64_t wide = nearest_second(dateIn);
    if (wide < std::numeric_limits<std::time_t>::min() || wide > std::numeric_limits<std::time_t>::max())
        return kConversionFailed;
    const auto seconds = static_cast<std::time_t>(wide);
    std::tm parts = {};
    if (gmtime_r(&seconds, &parts) == nullptr)
        return kConversionFailed;
    parts.tm_sec %= 60;
    fill_system_time(&pudateOut->st, parts, 0);
    // Deliberate: Sunday is 1 here, as applications built for the library expect of this call alone.
    pudateOut->st.wDayOfWeek = static_cast<WORD>(parts.tm_wday + 1);
    pudateOut->wDayOfYear = static_cast<WORD>(parts.tm_yday);
    return 0;
}

HRESULT ConvertVariantTimeToTimeT(double date, time_t* pTime) {
    constexpr double kLastSecond = 50424.134803240740; // 2038-01-19 03:14:07, itself accepted
    if (pTime == nullptr || !(date >= kUnixEpoch && date <= kLastSecond))
        return kOutOfRange;
    *pTime = static_cast<std::time_t>(nearest_second(date));
    std::tm parts = {};
    if (gmtime_r(pTime, &parts) == nullptr)
        return kConversionFailed;
    parts.tm_isdst = -1;
    const TimeZoneLock lock;
    *pTime = std::mktime(&parts);
    return *pTime == -1 ? kConversionFailed : 0;
}
