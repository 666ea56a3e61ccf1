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

/* ---- Sleep and tick count ---- */

/* Blocks the calling thread for dwMilliseconds; INFINITE never returns, 0 returns at once without yielding,
 * and 0x80000000 or more, but for INFINITE, returns at once too. The end is on the wall clock: setting the
 * clock moves it. Signals do not end it. */
KALTO_API void Sleep(DWORD dwMilliseconds);

/* Milliseconds since the first call in this process, which returns 0; wraps around after 49.7 days. Differs
 * from Windows, where the count starts with the system. Thread-safe. */
KALTO_API DWORD GetTickCount(void);

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

/* There is no such counter: FALSE. The frequency, when its pointer is not null, is set to 0. */
KALTO_API BOOL QueryPerformanceCounter(LARGE_INTEGER* lpPerformanceCount);
KALTO_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency);

/* OLE automation dates count days since 1899-12-30 00:00. */

/* Takes a date apart to the nearest second, before 1970 to the next one (see UDATE); dwFlags is ignored.
 * Returns 0; 22 for null, not a number or a date outside the years 100 to 9999; 0xFFFFFFFF when the
 * platform's time_t cannot hold the date.
 */
KALTO_API HRESULT VarUdateFromDate(DATE dateIn, ULONG dwFlags, UDATE* pudateOut);

/* Stores the time_t of a date that is read as local time. Returns 0; 22, with nothing stored, for null, not a
 * number or a date before 1970-01-01 or after 2038-01-19 03:14:07; 0xFFFFFFFF, with -1 stored, when there is
 * no such time_t (or when it is -1 itself). */
KALTO_API HRESULT ConvertVariantTimeToTimeT(double date, time_t* pTime);

/* ---- The machine ----
 * None of these calls touches the last error, but where the host's hooks do. Safe to call from any thread. */

#ifndef GUID_DEFINED
#define GUID_DEFINED
typedef struct _GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
} GUID, *PGUID, *LPGUID, IID, *LPIID, CLSID, *LPCLSID;
typedef const GUID* LPCGUID;
#endif

/* Makes a GUID from the time, a sequence number and six bytes that stay the same within a process, and stores
 * it in *pguid. Returns 0, or -1 (0xFFFFFFFF) for null and when the time cannot be converted. Seeds the C
 * library's rand with the time at every call. Differs from Windows: unique on one device for one application,
 * not in the world. */
KALTO_API HRESULT CoCreateGuid(GUID* pguid);

typedef struct _OSVERSIONINFO {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
} OSVERSIONINFO, *POSVERSIONINFO, *LPOSVERSIONINFO, OSVERSIONINFOW, *POSVERSIONINFOW, *LPOSVERSIONINFOW;

#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2
#define VER_PLATFORM_WIN32_CE 3

/* Stores the kernel's release, "3.10.17-rt" as 3, 10 and 17 (a part that is missing is 0), its name
 * ("Linux") in szCSDVersion, and platform 0. dwOSVersionInfoSize is set to 532 whatever it was. TRUE, or
 * FALSE for null and when the kernel does not tell. */
KALTO_API BOOL GetVersionEx(LPOSVERSIONINFO lpVersionInformation);
#define GetVersionExW GetVersionEx

typedef struct _MEMORYSTATUS {
    DWORD dwLength;
    DWORD dwMemoryLoad;     /* the percentage of memory that is free, where Windows tells what is in use */
    SIZE_T dwTotalPhys;     /* bytes of memory */
    SIZE_T dwAvailPhys;     /* bytes of it that are free */
    SIZE_T dwTotalPageFile; /* bytes of swap space */
    SIZE_T dwAvailPageFile; /* bytes of it that are free */
    SIZE_T dwTotalVirtual;  /* as dwTotalPhys */
    SIZE_T dwAvailVirtual;  /* as dwAvailPhys */
} MEMORYSTATUS, *PMEMORYSTATUS, *LPMEMORYSTATUS;

/* Fills the record and sets dwLength to 32, its size on the 32-bit target, on every target. A record whose
 * dwLength is 31 or less stays untouched, as does any when the kernel does not tell. What is more than a
 * field can hold is stored as the most that it can. */
KALTO_API void GlobalMemoryStatus(LPMEMORYSTATUS lpBuffer);

/* The names of the user and of the machine, by the host's PTR_GetUserName, PTR_GetHostName and
 * PTR_SetHostName; see <kalto/host.h> for what the reference host does. SetComputerName returns FALSE for
 * null and for an empty name. */
KALTO_API BOOL GetUserName(LPWSTR lpBuffer, LPDWORD lpnSize);
KALTO_API BOOL GetComputerName(LPWSTR lpBuffer, LPDWORD lpnSize);
KALTO_API BOOL SetComputerName(LPCWSTR lpComputerName);
#define GetUserNameW GetUserName
#define GetComputerNameW GetComputerName
#define SetComputerNameW SetComputerName
#define MAX_COMPUTERNAME_LENGTH 15
#ifndef UNLEN
#define UNLEN 256
#endif

#define SPI_GETPLATFORMTYPE 257
#define SPI_GETOEMINFO 258

/* Copies the name of the device's maker, "Velmoran" with its terminator (9 characters), to pvParam whatever
 * uiAction asks for, and returns TRUE. A null pvParam is left alone. Differs from Windows in that. */
KALTO_API BOOL SystemParametersInfo(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni);
#define SystemParametersInfoW SystemParametersInfo

/* A parameter of the device as narrow text. *size is the room in buffer in bytes; a null buffer has none.
 *
 * Where an environment variable is called name, its text is the answer: TRUE with *size its length without
 * the terminator, or FALSE with that length when it does not fit with its terminator.
 *
 * Otherwise it is the text value of that name in the registry key
 * HKEY_LOCAL_MACHINE\SOFTWARE\Velmoran\NVPARM, of at most 49 characters; the key is made where it is missing.
 * TRUE with *size the length of what stands in buffer, with the terminator; FALSE with *size 0 when there is
 * no such value or it cannot be read or expressed in the locale's encoding. The text is copied only where
 * four bytes for each of its characters and the terminator would fit; otherwise buffer keeps what it held.
 *
 * FALSE for a null name (*size becomes 0) or a null size. Takes the registry's lock and may wait for it; not
 * safe against a thread that changes the environment at the same moment. */
KALTO_API BOOL KaltoGetNvparm(const char* name, char* buffer, LPDWORD size);

/* Selectors of parameters for KernelIoControl: the serial number, the manufacturing code and the
 * manufacturing flags, QRD_NVPARM_SERIAL_NUM, QRD_NVPARM_MCODE and QRD_NVPARM_MANU_FLAGS for KaltoGetNvparm.
 */
#define KALTO_NVPARM_SERIAL_NUM 2
#define KALTO_NVPARM_MCODE 10
#define KALTO_NVPARM_MANU_FLAGS 39

/* Asks for a parameter of the device. The first byte of lpInBuf selects it, or, when that is 0, the second; a
 * byte beyond nInBufSize counts as 0. First lpOutBuf is filled with nOutBufSize - 1 characters "0" and a
 * terminator. TRUE for an unknown selector, with *lpBytesReturned untouched; otherwise the result of
 * KaltoGetNvparm with lpOutBuf, and in *lpBytesReturned the size that it stored. FALSE, with nothing written,
 * for a null lpInBuf; a null lpOutBuf has no room; lpBytesReturned may be null. The control code is ignored.
 */
KALTO_API BOOL KernelIoControl(DWORD dwIoControlCode, LPVOID lpInBuf, DWORD nInBufSize, LPVOID lpOutBuf,
                               DWORD nOutBufSize, LPDWORD lpBytesReturned);

/* ---- Narrow text ---- */

/* Reverse, lower or raise narrow text in place, byte by byte; the case is the current locale's. Return the
 * argument, also when it is null. */
KALTO_API char* strrev(char* text);
KALTO_API char* strlwr(char* text);
KALTO_API char* strupr(char* text);
#define _strrev strrev
#define _strlwr strlwr
#define _strupr strupr

KALTO_END_DECLS

#endif
