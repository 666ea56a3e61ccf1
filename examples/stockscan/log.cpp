#include "log.h"

#include <cstdarg>

namespace {

const size_t kLongest = 500;

// OutputDebugString takes its text as a format here, so each percent sign is doubled.
void Escape(LPCWSTR text, WCHAR* escaped) {
    for (; *text != L'\0'; ++text) {
        *escaped++ = *text;
        if (*text == L'%')
            *escaped++ = L'%';
    }
    *escaped = L'\0';
}

} // namespace

void Log(LPCWSTR format, ...) {
    WCHAR text[kLongest + 1] = L"";
    WCHAR escaped[2 * kLongest + 1];
    WCHAR line[2 * kLongest + 20];
    va_list arguments;
    va_start(arguments, format);
    _vsnwprintf(text, kLongest, format, arguments);
    va_end(arguments);
    Escape(text, escaped);
    wsprintf(line, L"stockscan: %s\n", escaped);
    OutputDebugString(line); // in one piece, so that lines of several threads do not mix
}
