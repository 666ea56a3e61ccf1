// Times and dates as text.
#include "system/calendar.h"

#include <cstdlib>
#include <kalto/core.h>
#include <kalto/errors.h>

using namespace kalto;

constexpr std::size_t kTextBytes = 127;

// Deliberate: every format of the interface has its place here, but the flags select only the last three, so
// that applications see the texts they were built with.
enum TimeFormat {
    kHour12Minute,
    kHour12MinuteMarker,
    kHour12Second,
    kHour24Minute,
    kHour24Second,
    kHour12Full
};
static const char* const kTimeFormats[] = {"%I:%M", "%I:%M %p", "%I:%M:%S",
                                           "%H:%M", "%H:%M:%S", "%I:%M:%S %p"};

static const char* time_format(DWORD flags) {
    if ((flags & 1) != 0)
        return kTimeFormats[kHour24Minute];
    return kTimeFormats[(flags & 2) != 0 ? kHour24Second : kHour12Full];
}

// The longest text has fewer wide characters than bytes, so that the copy stays within length + 1 characters.
static bool copy_widened(wchar_t* destination, const char* text) {
    wchar_t wide[kTextBytes] = {};
    if (std::mbstowcs(wide, text, kTextBytes) == static_cast<std::size_t>(-1))
        return false;
    std::wcscpy(destination, wide);
    return true;
}

static int fail_with(DWORD error) {
    SetLastError(error);
    return 0;
}

static int write_text(const char* format, const SYSTEMTIME* given, LPCWSTR custom_format, LPWSTR destination,
                      int size) {
    SetLastError(NO_ERROR);
    if (custom_format != nullptr)
        return fail_with(ERROR_INVALID_PARAMETER);
    SYSTEMTIME now = {};
    if (given == nullptr)
        GetLocalTime(&now);
    const std::tm parts = broken_down(given == nullptr ? now : *given);
    char text[kTextBytes] = {};
    const int length = static_cast<int>(std::strftime(text, sizeof text, format, &parts));
    text[length] = '\0'; // what did not fit may have been begun
    // Deliberate: a text as long as the buffer is copied, its terminator beyond the announced size;
    // applications announce one character less than they have.
    if (size == 0 || length > size)
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
    else if (destination == nullptr)
        return fail_with(ERROR_INVALID_PARAMETER);
    else if (!copy_widened(destination, text))
        return fail_with(ERROR_GEN_FAILURE);
    return length;
}

int GetTimeFormat(LCID /*Locale*/, DWORD dwFlags, const SYSTEMTIME* lpTime, LPCWSTR lpFormat,
                  LPWSTR lpTimeStr, int cchTime) {
    return write_text(time_format(dwFlags), lpTime, lpFormat, lpTimeStr, cchTime);
}

int GetDateFormat(LCID /*Locale*/, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCWSTR lpFormat,
                  LPWSTR lpDateStr, int cchDate) {
    // Deliberate: compared as a whole, further flags select the short date; applications pass DATE_LONGDATE
    // alone.
    return write_text(dwFlags == DATE_LONGDATE ? "%A, %B %d, %Y" : "%Y-%B-%d", lpDate, lpFormat, lpDateStr,
                      cchDate);
}
