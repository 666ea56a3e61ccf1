// Numbers as text.
#include <cstdint>
#include <kalto/porting.h>

namespace {

constexpr int kLargestRadix = 36;
constexpr int kMostDigits = 64;

template <typename Unit> Unit* write_digits(uint64_t value, bool negative, Unit* buffer, int radix) {
    Unit* out = buffer;
    if (radix >= 2 && radix <= kLargestRadix) {
        char digits[kMostDigits];
        int count = 0;
        do {
            digits[count++] = "0123456789abcdefghijklmnopqrstuvwxyz"[value % static_cast<uint64_t>(radix)];
            value /= static_cast<uint64_t>(radix);
        } while (value != 0);
        if (negative)
            *out++ = Unit{'-'};
        while (count > 0)
            *out++ = static_cast<Unit>(digits[--count]);
    }
    *out = Unit{};
    return buffer;
}

// As Windows does: the sign is shown in radix 10 alone, every other radix shows the bits of the type.
template <typename Bits, typename Unit, typename Value>
Unit* write_signed(Value value, Unit* buffer, int radix) {
    const bool negative = radix == 10 && value < 0;
    const auto bits = static_cast<Bits>(value);
    return write_digits(negative ? static_cast<Bits>(0 - bits) : bits, negative, buffer, radix);
}

} // namespace

char* _itoa(int value, char* buffer, int radix) {
    return write_signed<uint32_t>(value, buffer, radix);
}

char* _ultoa(ULONG value, char* buffer, int radix) {
    return write_digits(value, false, buffer, radix);
}

char* _i64toa(__int64 value, char* buffer, int radix) {
    return write_signed<uint64_t>(value, buffer, radix);
}

WCHAR* _itow(int value, WCHAR* buffer, int radix) {
    return write_signed<uint32_t>(value, buffer, radix);
}

WCHAR* _ltow(LONG value, WCHAR* buffer, int radix) {
    return write_signed<uint32_t>(value, buffer, radix);
}

WCHAR* _ultow(ULONG value, WCHAR* buffer, int radix) {
    return write_digits(value, false, buffer, radix);
}

WCHAR* _i64tow(__int64 value, WCHAR* buffer, int radix) {
    return write_signed<uint64_t>(value, buffer, radix);
}
