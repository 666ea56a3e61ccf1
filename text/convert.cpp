// Conversions between wide text and the encoding of the current locale: the exported ones, whose limits and
// counts callers rely on to the letter, and the internal ones, which never cut. No locks; the conversion
// state is local.
#include "text/convert.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <kalto/text.h>
#include <langinfo.h>
#include <new>

namespace {

constexpr auto kFailed = static_cast<size_t>(-1);
constexpr size_t kPieceSize = 256;
constexpr size_t kLongPieceSize = 8192;

// One spelling for both directions.
size_t convert_some(char* to, const wchar_t** from, size_t count, size_t limit, mbstate_t* state) {
    return wcsnrtombs(to, from, count, limit, state);
}

size_t convert_some(wchar_t* to, const char** from, size_t count, size_t limit, mbstate_t* state) {
    return mbsnrtowcs(to, from, count, limit, state);
}

size_t convert_piece(char* to, const wchar_t** from, size_t limit, mbstate_t* state) {
    return wcsrtombs(to, from, limit, state);
}

size_t convert_piece(wchar_t* to, const char** from, size_t limit, mbstate_t* state) {
    return mbsrtowcs(to, from, limit, state);
}

size_t length(const wchar_t* text) {
    return wcslen(text);
}

size_t length(const char* text) {
    return strlen(text);
}

// The units that converting the first count units of source gives, the terminator excluded, or kFailed. This
// is not left to a conversion without a destination, because that would not show a character cut in two.
template <typename To, typename From> size_t converted_length(const From* source, size_t count) {
    To piece[kPieceSize];
    mbstate_t state = {};
    const From* rest = source;
    size_t total = 0;
    while (rest != nullptr && rest < source + count) {
        const auto left = static_cast<size_t>(source + count - rest);
        const size_t converted = convert_some(piece, &rest, left, kPieceSize, &state);
        if (converted == kFailed)
            return kFailed;
        total += converted;
    }
    return mbsinit(&state) != 0 ? total : kFailed;
}

// Converts until the terminator, count units of the source or limit units of the destination, whatever comes
// first. A character that the count cuts in two cannot be expressed.
template <typename To, typename From>
size_t convert_described(To* destination, const From** rest, size_t count, size_t limit) {
    mbstate_t state = {};
    const size_t converted = convert_some(destination, rest, count, limit, &state);
    return mbsinit(&state) != 0 ? converted : kFailed;
}

// What both exported counted conversions do. Only the described part of the source, count units, is looked
// at.
template <typename To, typename From>
int convert_counted(const From* source, int source_length, To* destination, int destination_size) {
    const int count = source_length < 0 ? static_cast<int>(length(source) + 1) : source_length;
    // A negative size describes no buffer. The rules below give the limit for it whatever the text is.
    if (destination_size < 0)
        return destination_size;
    const int limit = destination_size == 0 ? count : std::min(destination_size, count);
    const bool size_query = destination_size == 0 || destination == nullptr;
    const From* rest = source;
    const size_t converted = size_query ? converted_length<To>(source, static_cast<size_t>(count))
                                        : convert_described(destination, &rest, static_cast<size_t>(count),
                                                            static_cast<size_t>(limit));
    // Deliberate: failure is the result -1, not 0; sources that were fitted to this library test for it.
    if (converted == kFailed)
        return -1;
    const int result = static_cast<int>(converted);
    if (result >= limit)
        return limit;
    if (rest == nullptr)
        return result + 1;
    // Deliberate: whether the terminator is counted is read from the source at the number of converted units,
    // which is its own place only where every character is one unit long. Callers have sized their buffers by
    // these counts.
    const ptrdiff_t probe = (rest - source) + result;
    return probe < count && source[probe] == From{} ? result + 1 : result;
}

// Whether an ASCII character is one unit of the same number in the encoding of the locale, whatever stands
// before or behind it. So it is in the two encodings that devices use.
bool ascii_stays_itself() {
    const char* const encoding = nl_langinfo(CODESET);
    return std::strcmp(encoding, "UTF-8") == 0 || std::strcmp(encoding, "ANSI_X3.4-1968") == 0;
}

template <typename Char> bool is_ascii_text(Char c) {
    return c > Char{} && c < Char{0x7F};
}

// Appends the ASCII characters that the source begins with. Returns what is left, or null when that is
// nothing. Names are short, and asking the C library for their conversion takes several times as long.
template <typename To, typename From>
const From* append_ascii(const From* source, std::basic_string<To>& out) {
    To piece[kPieceSize];
    for (;;) {
        size_t length = 0;
        for (; length < kPieceSize && is_ascii_text(*source); ++length)
            piece[length] = static_cast<To>(*source++);
        out.append(piece, length);
        if (length < kPieceSize)
            return *source == From{} ? nullptr : source;
    }
}

template <typename To, typename From> bool convert_whole(const From* source, std::basic_string<To>& out) {
    out.clear();
    try {
        To piece[kPieceSize];
        mbstate_t state = {};
        if (source != nullptr && ascii_stays_itself())
            source = append_ascii(source, out);
        while (source != nullptr) {
            const size_t converted = convert_piece(piece, &source, kPieceSize, &state);
            if (converted == kFailed) {
                out.clear();
                return false;
            }
            out.append(piece, converted);
        }
        return true;
    } catch (const std::bad_alloc&) {
        out.clear();
        errno = ENOMEM;
        return false;
    }
}

// Whether each byte of the text is a character of its own number.
bool is_plain(const char* text, size_t length) {
    bool plain = true;
    for (size_t i = 0; i < length; ++i)
        plain &= is_ascii_text(text[i]);
    return plain && ascii_stays_itself();
}

bool is_pair(const wchar_t* text) {
    return text[0] >= 0xD800 && text[0] <= 0xDBFF && text[1] >= 0xDC00 && text[1] <= 0xDFFF;
}

bool has_pair(const wchar_t* text) {
    for (; *text != L'\0'; ++text)
        if (is_pair(text))
            return true;
    return false;
}

// Every pair as one character. Throws when memory is out.
std::wstring combine_pairs(const wchar_t* text) {
    std::wstring out;
    for (; *text != L'\0'; ++text) {
        if (is_pair(text)) {
            out += static_cast<wchar_t>(0x10000 + ((text[0] - 0xD800) << 10) + (text[1] - 0xDC00));
            ++text;
        } else {
            out += *text;
        }
    }
    return out;
}

} // namespace

namespace kalto {

bool to_narrow(const wchar_t* wide, std::string& out) {
    if (wide == nullptr || !has_pair(wide))
        return convert_whole(wide, out);
    out.clear();
    try {
        return convert_whole(combine_pairs(wide).c_str(), out);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

bool to_wide(const char* narrow, std::wstring& out) {
    return convert_whole(narrow, out);
}

// Most names and values are plain: they need neither memory nor the C library.
bool widen_into(const char* narrow, void* out, size_t room) {
    auto* const bytes = static_cast<char*>(out);
    size_t count = std::strlen(narrow);
    if (is_plain(narrow, count)) {
        count = std::min(count, room);
        for (size_t i = 0; i < count; ++i) {
            const auto c = static_cast<wchar_t>(narrow[i]);
            std::memcpy(bytes + i * sizeof c, &c, sizeof c);
        }
    } else {
        std::wstring wide;
        if (!to_wide(narrow, wide))
            return false;
        count = std::min(wide.size(), room);
        std::memcpy(bytes, wide.data(), count * sizeof(wchar_t));
    }
    std::memset(bytes + count * sizeof(wchar_t), 0, (room - count) * sizeof(wchar_t));
    return true;
}

bool to_path(const wchar_t* wide, std::string& out) {
    if (wide == nullptr || wcschr(wide, L'\\') == nullptr)
        return to_narrow(wide, out);
    out.clear();
    try {
        std::wstring turned(wide);
        std::replace(turned.begin(), turned.end(), L'\\', L'/');
        return to_narrow(turned.c_str(), out);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

size_t narrow_limited(const wchar_t* wide, char* out, size_t limit) {
    mbstate_t state = {};
    size_t written = 0;
    for (; *wide != L'\0'; ++wide) {
        char bytes[MB_LEN_MAX];
        const size_t count = wcrtomb(bytes, *wide, &state);
        if (count == kFailed || count > limit - written)
            break;
        memcpy(out + written, bytes, count);
        written += count;
    }
    return written;
}

} // namespace kalto

WCHAR* mymbstowcs(WCHAR* destination, const char* source) {
    // The limit is one more than the bytes of the source. No text has more characters than bytes, so the
    // limit is never reached and they need not be counted.
    WCHAR* to = destination;
    mbstate_t state = {};
    while (source != nullptr) {
        const size_t converted = mbsrtowcs(to, &source, kLongPieceSize, &state);
        if (converted == kFailed)
            break;
        to += converted;
    }
    return destination;
}

char* mywcstombs(char* destination, const WCHAR* source) {
    // Deliberate: the limit is in characters though the destination is in bytes; callers size their buffers
    // by it.
    wcstombs(destination, source, wcslen(source) + 1);
    return destination;
}

int WideCharToMultiByte(UINT /*CodePage*/, DWORD /*dwFlags*/, LPCWSTR lpWideCharStr, int cchWideChar,
                        LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR /*lpDefaultChar*/,
                        LPBOOL lpUsedDefaultChar) {
    if (lpUsedDefaultChar != nullptr)
        *lpUsedDefaultChar = FALSE;
    return convert_counted(lpWideCharStr, cchWideChar, lpMultiByteStr, cbMultiByte);
}

int MultiByteToWideChar(UINT /*CodePage*/, DWORD /*dwFlags*/, LPCSTR lpMultiByteStr, int cbMultiByte,
                        LPWSTR lpWideCharStr, int cchWideChar) {
    return convert_counted(lpMultiByteStr, cbMultiByte, lpWideCharStr, cchWideChar);
}
