// Wide text through the C library's streams. It is converted here and written as bytes: a stream that a wide
// call of the C library has touched refuses every narrow one, and sources mix the two.
#include "porting/sized_print.h"
#include "text/convert.h"

#include <cstdio>
#include <cstdlib>
#include <kalto/porting.h>

int KaltoPutText(const WCHAR* text, FILE* stream) {
    std::string narrow;
    if (text == nullptr || stream == nullptr || !kalto::to_narrow(text, narrow))
        return EOF;
    return fwrite(narrow.data(), 1, narrow.size(), stream) == narrow.size() ? 0 : EOF;
}

int KaltoPutLine(const WCHAR* text) {
    return KaltoPutText(text, stdout) == EOF ? EOF : KaltoPutText(L"\n", stdout);
}

int KaltoPrintTextListTo(FILE* stream, const WCHAR* format, va_list arguments) {
    int length = -1;
    WCHAR* const text = kalto::format_whole(format, arguments, &length);
    const bool written = text != nullptr && KaltoPutText(text, stream) != EOF;
    free(text);
    return written ? length : -1;
}

int KaltoPrintTextList(const WCHAR* format, va_list arguments) {
    return KaltoPrintTextListTo(stdout, format, arguments);
}

int KaltoPrintTextTo(FILE* stream, const WCHAR* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = KaltoPrintTextListTo(stream, format, arguments);
    va_end(arguments);
    return result;
}

int KaltoPrintText(const WCHAR* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = KaltoPrintTextListTo(stdout, format, arguments);
    va_end(arguments);
    return result;
}

namespace {

enum class Read { kCharacter, kEnd, kUnknown };

Read read_character(FILE* stream, WCHAR* character) {
    constexpr auto kUnknown = static_cast<size_t>(-1);
    constexpr auto kUnfinished = static_cast<size_t>(-2);
    mbstate_t state = {};
    size_t used = kUnfinished;
    while (used == kUnfinished) {
        const int byte = getc(stream);
        if (byte == EOF)
            return mbsinit(&state) != 0 ? Read::kEnd : Read::kUnknown;
        const char unit = static_cast<char>(byte);
        used = mbrtowc(character, &unit, 1, &state);
    }
    return used == kUnknown ? Read::kUnknown : Read::kCharacter;
}

} // namespace

WCHAR* KaltoGetText(WCHAR* buffer, int count, FILE* stream) {
    if (buffer == nullptr || count <= 0 || stream == nullptr)
        return nullptr;
    int length = 0;
    while (length < count - 1 && (length == 0 || buffer[length - 1] != L'\n')) {
        const Read read = read_character(stream, &buffer[length]);
        if (read == Read::kUnknown || (read == Read::kEnd && length == 0))
            return nullptr;
        if (read == Read::kEnd)
            break;
        ++length;
    }
    buffer[length] = L'\0';
    return buffer;
}

wint_t KaltoGetCharacter(FILE* stream) {
    WCHAR character = 0;
    const bool read = stream != nullptr && read_character(stream, &character) == Read::kCharacter;
    return read ? static_cast<wint_t>(character) : WEOF;
}

wint_t KaltoPutCharacter(wint_t character, FILE* stream) {
    // A null character is text of no length.
    if (character == 0)
        return stream != nullptr && putc(0, stream) == 0 ? 0 : WEOF;
    const WCHAR text[] = {static_cast<WCHAR>(character), L'\0'};
    return KaltoPutText(text, stream) != EOF ? character : WEOF;
}
