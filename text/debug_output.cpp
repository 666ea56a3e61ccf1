// Debug output to standard error. Works from the stack as far as that reaches, so that a program that has run
// out of memory can still say so.
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <kalto/text.h>
#include <memory>

namespace {

constexpr size_t kPrintBytes = 4097;
constexpr size_t kPrintCharacters = 1024;
// Holds whatever DebugPrint can format, in any encoding of up to four bytes a character.
constexpr size_t kStackBytes = 4 * kPrintCharacters;

struct Free {
    void operator()(void* block) const { free(block); }
};

// Writes as much of the narrow form as fits size bytes in whole characters, terminated; returns the length of
// all of it. A character that the locale cannot express becomes a question mark: the rest of the line is
// still worth reading.
size_t express(const wchar_t* text, char* to, size_t size) {
    mbstate_t state = {};
    size_t total = 0;
    size_t written = 0;
    for (; *text != L'\0'; ++text) {
        char bytes[MB_LEN_MAX] = {'?'};
        size_t count = wcrtomb(bytes, *text, &state);
        if (count == static_cast<size_t>(-1)) {
            bytes[0] = '?';
            count = 1;
            state = {};
        }
        if (written == total && total + count < size) {
            memcpy(to + written, bytes, count);
            written += count;
        }
        total += count;
    }
    to[written] = '\0';
    return total;
}

// Deliberate: the text is the format. Callers who pass a percent sign through DebugPrint double it twice. The
// null is what a conversion that was left in by mistake takes.
int print(const char* text) {
    return fprintf(stderr, text, nullptr);
}

} // namespace

int OutputDebugString(LPCWSTR lpOutputString) {
    char here[kStackBytes];
    if (lpOutputString == nullptr)
        return 0;
    const size_t length = express(lpOutputString, here, sizeof here);
    if (length < sizeof here)
        return print(here);
    const std::unique_ptr<char, Free> whole(static_cast<char*>(malloc(length + 1)));
    if (whole == nullptr)
        return print(here);
    express(lpOutputString, whole.get(), length + 1);
    return print(whole.get());
}

int DebugPrint(const WCHAR* format, ...) {
    const std::unique_ptr<WCHAR, Free> buffer(static_cast<WCHAR*>(malloc(kPrintBytes)));
    if (buffer == nullptr)
        return 0;
    wmemset(buffer.get(), L'\0', kPrintCharacters); // a text that was cut has no terminator of its own
    va_list arguments;
    va_start(arguments, format);
    const int result = vswmyprintf(buffer.get(), kPrintCharacters, format, arguments);
    va_end(arguments);
    OutputDebugString(buffer.get());
    return result;
}
