// The formatted-print families: the format is rewritten, then the C library does the work.
#include "text/format.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <kalto/system.h>
#include <kalto/text.h>

namespace {

// What the calls without a size assume of the caller's buffer.
constexpr size_t kUnlimited = 32767;

// What may stand between the percent sign and the conversion character.
// Deliberate: 8 is missing. A width or precision with an 8 in it passes for the conversion character, and the
// real one is then left as it is: %8s takes a narrow string in a wide format. Formats in the field are
// written for it.
template <typename Char> bool is_flag(Char c) {
    switch (c) {
    case ' ':
    case '-':
    case '+':
    case '#':
    case '.':
    case '*':
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '9':
        return true;
    default:
        return false;
    }
}

// In a narrow format both cases mean narrow text.
char* put_conversion(char* to, char conversion) {
    if (conversion == 'C' || conversion == 'S')
        conversion = static_cast<char>(conversion | 0x20);
    *to++ = conversion;
    return to;
}

// In a wide format the lower case means wide text, the upper case narrow text.
wchar_t* put_conversion(wchar_t* to, wchar_t conversion) {
    if (conversion == L's' || conversion == L'c')
        *to++ = L'l';
    else if (conversion == L'S' || conversion == L'C')
        conversion |= 0x20;
    *to++ = conversion;
    return to;
}

template <typename Char> void rewrite(const Char* from, Char* to) {
    while (*from != 0) {
        const Char c = *from++;
        *to++ = c;
        if (c != '%')
            continue;
        while (is_flag(*from))
            *to++ = *from++;
        if (*from != 0)
            to = put_conversion(to, *from++);
    }
    *to = 0;
}

size_t length(const char* text) {
    return strlen(text);
}

size_t length(const wchar_t* text) {
    return wcslen(text);
}

// The C library's form of the format in a block for LocalFree; null when memory is out.
template <typename Char> Char* rewritten_copy(const Char* format) {
    auto* rewritten = static_cast<Char*>(malloc(kalto::rewritten_size(length(format)) * sizeof(Char)));
    if (rewritten != nullptr)
        rewrite(format, rewritten);
    return rewritten;
}

} // namespace

void kalto::rewrite_format(const char* format, char* rewritten) {
    rewrite(format, rewritten);
}

void kalto::rewrite_format(const wchar_t* format, wchar_t* rewritten) {
    rewrite(format, rewritten);
}

int vsnmyprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    char* const rewritten = rewritten_copy(format);
    if (rewritten == nullptr)
        return 0;
    const int result = vsnprintf(buffer, size, rewritten, arguments);
    LocalFree(rewritten);
    return result;
}

int vsmyprintf(char* buffer, const char* format, va_list arguments) {
    return vsnmyprintf(buffer, kUnlimited, format, arguments);
}

int _sprintf(char* buffer, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = vsnmyprintf(buffer, kUnlimited, format, arguments);
    va_end(arguments);
    return result;
}

int vswmyprintf(WCHAR* buffer, size_t size, const WCHAR* format, va_list arguments) {
    wchar_t* const rewritten = rewritten_copy(format);
    if (rewritten == nullptr)
        return 0;
    const int result = vswprintf(buffer, size, rewritten, arguments);
    LocalFree(rewritten);
    return result;
}

int wvsprintf(LPWSTR buffer, LPCWSTR format, va_list arguments) {
    return vswmyprintf(buffer, kUnlimited, format, arguments);
}

int wsprintf(LPWSTR buffer, LPCWSTR format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = vswmyprintf(buffer, kUnlimited, format, arguments);
    va_end(arguments);
    return result;
}

int wsnprintf(WCHAR* buffer, size_t size, const WCHAR* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = vswmyprintf(buffer, size, format, arguments);
    va_end(arguments);
    return result == static_cast<int>(size) ? -1 : result;
}
