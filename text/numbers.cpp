// Numbers from and to text, and the larger and smaller of two. Too large a number wraps around.
#include <cstdint>
#include <cwctype>
#include <kalto/text.h>

namespace {

// The most digits that _ltoa produces.
constexpr int kMostDigits = 33;

bool take_sign(const wchar_t*& text) {
    const bool negative = *text == L'-';
    if (negative || *text == L'+')
        ++text;
    return negative;
}

int32_t parse_32(const wchar_t* text) {
    while (iswspace(static_cast<wint_t>(*text)) != 0)
        ++text;
    const bool negative = take_sign(text);
    uint32_t value = 0;
    for (; iswdigit(static_cast<wint_t>(*text)) != 0; ++text)
        value = value * 10 + static_cast<uint32_t>(*text - L'0');
    return static_cast<int32_t>(negative ? 0 - value : value);
}

} // namespace

int _wtoi(const WCHAR* text) {
    return parse_32(text);
}

LONG _wtol(const WCHAR* text) {
    return parse_32(text);
}

__int64 _wtoi64(const WCHAR* text) {
    // Deliberate: only the space is skipped, where _wtoi skips every white space.
    while (*text == L' ')
        ++text;
    const bool negative = take_sign(text);
    uint64_t value = 0;
    for (; *text >= L'0' && *text <= L'9'; ++text)
        value = value * 10 + static_cast<uint64_t>(*text - L'0');
    return static_cast<int64_t>(negative ? 0 - value : value);
}

char* _ltoa(LONG value, char* buffer, int radix) {
    char digits[kMostDigits];
    int count = 0;
    char* to = buffer;
    // No radix below 1 has digits. Radix 1 has zeros only, up to the limit.
    if (radix >= 1) {
        const auto base = static_cast<uint32_t>(radix);
        // Deliberate: the sign and the magnitude in every radix, where Windows shows bit patterns in all but
        // ten.
        auto magnitude = static_cast<uint32_t>(value);
        if (value < 0) {
            magnitude = 0 - magnitude;
            *to++ = '-';
        }
        do {
            const uint32_t digit = magnitude % base;
            digits[count++] = static_cast<char>(digit < 10 ? '0' + digit : 'a' + digit - 10);
            magnitude /= base;
        } while (magnitude != 0 && count < kMostDigits);
    }
    while (count > 0)
        *to++ = digits[--count];
    *to = '\0';
    return buffer;
}

int max(int a, int b) {
    return b >= a ? b : a;
}

int min(int a, int b) {
    return b <= a ? b : a;
}
