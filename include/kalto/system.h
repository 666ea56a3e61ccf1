/* Time and date, tick counts, system and device information.
 *
 * Common to the time calls: a null argument is refused with the failure result and never followed; the last
 * error is left alone unless a call says otherwise; calls are thread-safe against each other, but not against
 * a thread that changes the environment at the same moment. Times outside the platform's time_t (32 bits on
 * the device: 1901-12-13 to 2038-01-19) cannot be converted there, and are reported. */
#ifndef KALTO_SYSTEM_H
#define KALTO_SYSTEM_H

#include <kalto/types.h>
#include <time.h>

KALTO_BEGIN_DECLS

/* ---- Local memory ---- */

/* Releases a block from the C library's allocator; null is accepted. Returns null, always: there is no
 * failure to report. */
KALTO_API HLOCAL LocalFree(HLOCAL hMem);

/* ---- Time and date ---- */

typedef struct _SYSTEMTIME {
    WORD wYear;      /* in full */
    WORD wMonth;     /* 1 to 12 */
    WORD wDayOfWeek; /* 0 is Sunday */
    WORD wDay;       /* 1 to 31 */
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

/* A date taken apart from an OLE automation date. Differs from Windows: here st.wDayOfWeek counts from 1,
 * Sunday, and wDayOfYear from 0. */
typedef struct _UDATE {
    SYSTEMTIME st;
    WORD wDayOfYear;
} UDATE;

typedef struct _TIME_ZONE_INFORMATION {
    LONG Bias; /* minutes */
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
} TIME_ZONE_INFORMATION, *PTIME_ZONE_INFORMATION, *LPTIME_ZONE_INFORMATION;

/* The results of GetTimeZoneInformation, with this library's own values. TIME_ZONE_ID_UNKNOWN is never
 * returned. */
#define TIME_ZONE_ID_STANDARD 0
#define TIME_ZONE_ID_DAYLIGHT 1
#define TIME_ZONE_ID_UNKNOWN 2
#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu

/* What GetTimeFormat looks at, with this library's own values: the lowest bit asks for hours and minutes, the
 * next one for 24 hours with seconds. Each name has the value that comes nearest to its meaning. */
#define TIME_NOMINUTESORSECONDS 1
#define TIME_NOSECONDS 1
#define TIME_NOTIMEMARKER 2
#define TIME_FORCE24HOURFORMAT 2

/* GetDateFormat looks for DATE_LONGDATE alone. */
#define DATE_SHORTDATE 1
#define DATE_LONGDATE 2

/* Ignored wherever a locale is asked for: the process's current C locale holds. */
#define LOCALE_SYSTEM_DEFAULT 0x0800
#define LOCALE_USER_DEFAULT 0x0400

/* Stores the current UTC time. */
KALTO_API void GetSystemTime(LPSYSTEMTIME lpSystemTime);

/* Stores the current local time, after making the C library read the time zone again, so that a changed zone
 * file is seen without a restart. Sets the environment variable TZ for a moment and puts it back: not safe
 * against a thread that reads or changes the environment at the same moment outside this library. */
KALTO_API void GetLocalTime(LPSYSTEMTIME lpSystemTime);

/* Set the clock from a UTC or a local time; wDayOfWeek is ignored, more than 999 milliseconds count as 999.
 * The fields are not checked, but carried over as timegm and mktime do; whether daylight-saving time holds at
 * a local time is worked out from the zone. TRUE, or FALSE with the last error 13 (no right to), 22 (no such
 * time) or 19. */
KALTO_API BOOL SetSystemTime(const SYSTEMTIME* lpSystemTime);
KALTO_API BOOL SetLocalTime(const SYSTEMTIME* lpSystemTime);

/* Stores the current time, to the microsecond. */
KALTO_API void GetSystemTimeAsFileTime(LPFILETIME lpFileTime);

/* TRUE, or FALSE with the result untouched when the time does not fit the platform's time_t. wDayOfWeek is
 * ignored on the way in. Differs from Windows: the fields are not checked (month 13 is January of the next
 * year), and years before 1601 wrap around. */
KALTO_API BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime);
KALTO_API BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime);

/* Between UTC and local time, by the zone's rules for that date (Windows uses today's); fractions of a second
 * are dropped. TRUE, or FALSE with the result untouched when the time does not fit the platform's time_t.
 * LocalFileTimeToFileTime takes every local time as standard time, and also fails for the local time that is
 * one second before 1970-01-01 00:00:00 UTC. */
KALTO_API BOOL FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime);
KALTO_API BOOL LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime);

/* The time as seconds since 1970, the fraction dropped, cut to a signed 32-bit number on every target. */
KALTO_API time_t FileTimeToTimeT(DWORD dwLowDateTime, DWORD dwHighDateTime);

/* Stores t, seconds since 1970, and returns lpFileTime (null for null). */
KALTO_API LPFILETIME TimeTToFileTime(LPFILETIME lpFileTime, time_t t);

/* Stores unsigned seconds since 1970 as a count of 100-nanosecond intervals since 1601. */
KALTO_API void RtlSecondsSince1970ToTime(DWORD dwSeconds, LARGE_INTEGER* lpTime);

/* Stores the kernel's minutes west of Greenwich in Bias and 0 in DaylightBias, and leaves every other field
 * as it was. Returns TIME_ZONE_ID_DAYLIGHT (1) when daylight-saving time holds now, TIME_ZONE_ID_STANDARD (0)
 * when not, TIME_ZONE_ID_INVALID for null. Differs from Windows in these values and in storing so little. */
KALTO_API DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation);

/* Write a time or a date as text, in the current C locale; a null lpTime or lpDate means the local time now.
 * The length of the text in bytes is returned whether or not it was copied: copied and terminated when it is
 * at most cchTime or cchDate, so that a buffer needs room for one character more than it announces;
 * otherwise, and for a count of 0 (the text pointer may then be null), nothing is written and the last error
 * is 36. Returns 0 with the last error 22 for a format (none is supported) or a null buffer, 19 when the text
 * is not in the locale's encoding. The last error is 0 after success. The fields are not checked: what has no
 * name is written as a question mark. GetTimeFormat: flag 1 gives 14:05, else flag 2 gives 14:05:09, else
 * 02:05:09 PM. GetDateFormat: flags equal to DATE_LONGDATE give "Sunday, November 15, 2026", all else
 * "2026-November-15". */
KALTO_API int GetTimeFormat(LCID Locale, DWORD dwFlags, const SYSTEMTIME* lpTime, LPCWSTR lpFormat,
                            LPWSTR lpTimeStr, int cchTime);
KALTO_API int GetDateFormat(LCID Locale, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCWSTR lpFormat,
                            LPWSTR lpDateStr, int cchDate);
#define GetTimeFormatW GetTimeFormat
#define GetDateFormatW GetDateFormat

/* OLE automation dates count days since 1899-12-30 00:00. */

/* Takes a date apart to the nearest second (see UDATE); dwFlags is ignored. Returns 0; 22 for null, not a
 * number or a date outside the years 100 to 9999; 0xFFFFFFFF when the platform's time_t cannot hold the date.
 */
KALTO_API HRESULT VarUdateFromDate(DATE dateIn, ULONG dwFlags, UDATE* pudateOut);

/* Stores the time_t of a date that is read as local time. Returns 0; 22, with nothing stored, for null, not a
 * number or a date before 1970-01-01 or after 2038-01-19 03:14:07; 0xFFFFFFFF, with -1 stored, when there is
 * no such time_t (or when it is -1 itself). */
KALTO_API HRESULT ConvertVariantTimeToTimeT(double date, time_t* pTime);

/* ---- The machine ---- */

#ifndef GUID_DEFINED
#define GUID_DEFINED
typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID, *PGUID, *LPGUID, IID, *LPIID, CLSID, *LPCLSID, UUID;
typedef const GUID* LPCGUID;
#endif

KALTO_END_DECLS

#endif
