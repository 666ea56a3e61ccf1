// The formatter of its own, with no size limit and one machine word for each argument, and the wide time
// format.
#include "text/convert.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <kalto/text.h>

namespace {

struct Field {
    bool left = false;
    bool zero = false;
    int width = 0;
};

struct Output {
    char* at;
    va_list arguments;
};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Flags and width, as far as they go.
Field parse_field(const char*& format) {
    Field field;
    if (*format == '-') {
        field.left = true;
        ++format;
    }
    for (; *format == '0'; ++format)
        field.zero = true;
    uint32_t width = 0; // wraps rather than overflows
    for (; is_digit(*format); ++format)
        width = width * 10 + static_cast<uint32_t>(*format - '0');
    field.width = static_cast<int>(width);
    return field;
}

// Pads the text of that length which already stands at the cursor, and moves the cursor behind it.
void finish_field(Output& out, const Field& field, size_t length) {
    if (field.width > 0 && static_cast<size_t>(field.width) > length) {
        const size_t padding = static_cast<size_t>(field.width) - length;
        char* const gap = field.left ? out.at + length : out.at;
        if (!field.left)
            memmove(out.at + padding, out.at, length);
        // Deliberate: zeros stay zeros behind left-justified text; fixed-width records in the field rely on
        // it.
        memset(gap, field.zero ? '0' : ' ', padding);
        length += padding;
    }
    out.at += length;
}

void put_text(Output& out, const Field& field, const char* text, size_t length) {
    memcpy(out.at, text, length);
    finish_field(out, field, length);
}

void put_string(Output& out, const Field& field, const char* text) {
    if (text == nullptr)
        text = "(null)";
    put_text(out, field, text, strlen(text));
}

// As mywcstombs converts: no more bytes than the text has characters. Never more than the field will take, so
// it can stand in its place from the start.
void put_wide_string(Output& out, const Field& field, const wchar_t* text) {
    if (text == nullptr)
        put_string(out, field, nullptr);
    else
        finish_field(out, field, kalto::narrow_limited(text, out.at, wcslen(text) + 1));
}

void put_number(Output& out, Field field, uint32_t magnitude, bool negative, uint32_t radix, char ten) {
    char digits[12];
    char* first = digits + sizeof digits;
    do {
        const uint32_t digit = magnitude % radix;
        *--first = static_cast<char>(digit < 10 ? '0' + digit : static_cast<uint32_t>(ten) + digit - 10);
        magnitude /= radix;
    } while (magnitude != 0);
    if (negative && field.zero && field.width > 0) {
        *out.at++ = '-';
        --field.width;
    } else if (negative) {
        *--first = '-';
        field.zero = false;
    }
    put_text(out, field, first, static_cast<size_t>(digits + sizeof digits - first));
}

void put_signed(Output& out, const Field& field, int value) {
    const auto bits = static_cast<uint32_t>(value);
    put_number(out, field, value < 0 ? 0 - bits : bits, value < 0, 10, 'a');
}

// One conversion, the percent sign already taken; returns what follows it in the format.
const char* put_conversion(Output& out, const char* format) {
    const Field field = parse_field(format);
    switch (*format) {
    case '\0':
        return format;
    case 's':
        put_string(out, field, va_arg(out.arguments, const char*));
        break;
    case 'l':
        // Deliberate: only ls is known. Another l is dropped and takes no argument, and what follows is plain
        // text.
        if (format[1] == 's') {
            put_wide_string(out, field, va_arg(out.arguments, const wchar_t*));
            ++format;
        }
        break;
    case 'c': {
        const char c = static_cast<char>(va_arg(out.arguments, int));
        put_text(out, field, &c, 1);
        break;
    }
    case 'd':
        put_signed(out, field, va_arg(out.arguments, int));
        break;
    case 'u':
        put_number(out, field, va_arg(out.arguments, unsigned), false, 10, 'a');
        break;
    case 'x':
        put_number(out, field, va_arg(out.arguments, unsigned), false, 16, 'a');
        break;
    case 'X':
        put_number(out, field, va_arg(out.arguments, unsigned), false, 16, 'A');
        break;
    default:
        break;
    }
    return format + 1;
}

} // namespace

int android_vsprint(char* buffer, const char* format, va_list arguments) {
    Output out = {buffer, {}};
    va_copy(out.arguments, arguments);
    while (*format != '\0') {
        const char c = *format++;
        if (c == '%' && *format != '%') {
            format = put_conversion(out, format);
            continue;
        }
        if (c == '%')
            ++format;
        *out.at++ = c;
    }
    va_end(out.arguments);
    *out.at = '\0';
    return static_cast<int>(out.at - buffer);
}

WCHAR* android_wcsftime(WCHAR* buffer, size_t size, const WCHAR* format, const struct tm* time) {
    std::string narrow_format;
    std::wstring text;
    auto* const narrow = reinterpret_cast<char*>(buffer);
    // Where there is no text, or none that fits, the C library leaves the buffer undefined.
    if (kalto::to_narrow(format, narrow_format) && strftime(narrow, size, narrow_format.c_str(), time) != 0)
        kalto::to_wide(narrow, text);
    return wcsncpy(buffer, text.c_str(), size);
}
