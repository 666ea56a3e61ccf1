// Formatted output with the limits of Windows: what does not fit is cut, reported, and not terminated.
#include "porting/sized_print.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <kalto/porting.h>

namespace kalto {

// The wide family does not tell a text that is too long from one that cannot be formatted: it is tried with
// more room until it fits, up to what no real text needs.
WCHAR* format_whole(const WCHAR* format, va_list arguments, int* length) {
    constexpr size_t kFirstTry = 512;
    constexpr size_t kLastTry = size_t{1} << 21;
    for (size_t room = kFirstTry; room <= kLastTry; room *= 8) {
        auto* const text = static_cast<WCHAR*>(malloc(room * sizeof(WCHAR)));
        if (text == nullptr)
            return nullptr;
        va_list copy;
        va_copy(copy, arguments);
        *length = vswmyprintf(text, room, format, copy);
        va_end(copy);
        if (*length >= 0 && static_cast<size_t>(*length) < room)
            return text;
        free(text);
    }
    return nullptr;
}

// All that fits; a terminator if there is room for it.
template <typename Unit> static int cut(Unit* buffer, size_t count, const Unit* text, int length) {
    const auto whole = static_cast<size_t>(length);
    std::copy_n(text, std::min(count, whole + 1), buffer);
    return whole <= count ? length : -1;
}

} // namespace kalto

int _vsnprintf(char* buffer, size_t count, const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(buffer, count, format, arguments);
    int result = length;
    if (length >= 0 && static_cast<size_t>(length) >= count) {
        const size_t room = static_cast<size_t>(length) + 1;
        auto* const text = static_cast<char*>(malloc(room));
        const bool whole = text != nullptr && vsnprintf(text, room, format, again) == length;
        result = whole ? kalto::cut(buffer, count, text, length) : -1;
        free(text);
    }
    va_end(again);
    return result;
}

int _vsnwprintf(WCHAR* buffer, size_t count, const WCHAR* format, va_list arguments) {
    int length = -1;
    WCHAR* const text = kalto::format_whole(format, arguments, &length);
    if (text == nullptr)
        return -1;
    const int result = kalto::cut(buffer, count, text, length);
    free(text);
    return result;
}

int _snprintf(char* buffer, size_t count, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = _vsnprintf(buffer, count, format, arguments);
    va_end(arguments);
    return result;
}

int _snwprintf(WCHAR* buffer, size_t count, const WCHAR* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = _vsnwprintf(buffer, count, format, arguments);
    va_end(arguments);
    return result;
}
