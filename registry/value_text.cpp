// Encoding and decoding of values. No locks.
#include "registry/value_text.h"

#include "text/convert.h"
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <new>
#include <strings.h>

namespace kalto {
namespace {

using Decoder = LONG (*)(const char* text, BYTE* data, DWORD* size);

constexpr DWORD kCharSize = sizeof(wchar_t);
constexpr DWORD kNumberSize = sizeof(DWORD);
constexpr size_t kCharsPerByte = 3; // two digits and a blank

// The required size goes by the bytes of the stored text; the characters may be fewer. What the text does not
// fill of the given size is zeroed.
LONG decode_string(const char* text, BYTE* data, DWORD* size) {
    const DWORD given = *size;
    const auto required = static_cast<DWORD>((strlen(text) + 1) * kCharSize);
    if (given >= kCharSize && data != nullptr && !widen_into(text, data, given / kCharSize))
        return ERROR_REGISTRY_IO_FAILED;
    *size = required;
    // Deliberate: a size of 0 without a buffer is too small as well; callers that only ask for the size
    // expect 90.
    return required > given ? ERROR_MORE_DATA : ERROR_SUCCESS;
}

// What strtoul gives where long has 32 bits, on every target: a number that is too large becomes the largest.
uint32_t number_of(const char* text) {
    constexpr unsigned long long kLargest = UINT32_MAX;
    const unsigned long long number = strtoull(text, nullptr, 16);
    const bool negated = number >= 0 - kLargest;
    return static_cast<uint32_t>(number > kLargest && !negated ? kLargest : number);
}

LONG decode_number(const char* text, BYTE* data, DWORD* size) {
    const DWORD given = *size;
    *size = kNumberSize;
    const uint32_t number = number_of(text);
    if (data != nullptr)
        for (DWORD i = 0; i < std::min(given, kNumberSize); ++i)
            data[i] = static_cast<BYTE>(number >> (8 * i));
    // Deliberate: a short buffer receives the low bytes, though the result says that it is too short.
    return given < kNumberSize ? ERROR_MORE_DATA : ERROR_SUCCESS;
}

// A character that is no digit, which only an editor can have put there, counts as 0.
unsigned digit_of(char c) {
    if (c >= '0' && c <= '9')
        return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<unsigned>(c - 'a' + 10);
    return c >= 'A' && c <= 'F' ? static_cast<unsigned>(c - 'A' + 10) : 0;
}

LONG decode_binary(const char* text, BYTE* data, DWORD* size) {
    // Deliberate: the division truncates toward zero, so that an empty text is reported as one byte. Callers
    // allocate by this number.
    const auto whole = static_cast<DWORD>((static_cast<long>(strlen(text)) - 2) / 3 + 1);
    if (data == nullptr) {
        *size = whole;
        return ERROR_SUCCESS;
    }
    DWORD stored = 0;
    while (*text != '\0' && stored < *size) {
        unsigned byte = digit_of(*text++);
        if (*text != '\0')
            byte = byte * 16 + digit_of(*text++);
        if (*text != '\0')
            ++text;
        data[stored++] = static_cast<BYTE>(byte);
    }
    *size = *text != '\0' ? whole : stored;
    return *text != '\0' ? ERROR_MORE_DATA : ERROR_SUCCESS;
}

constexpr struct {
    const char* name;
    DWORD type;
    Decoder decode;
} kTypes[] = {
    {"REG_BINARY", REG_BINARY, decode_binary},
    {"REG_DWORD", REG_DWORD, decode_number},
    {"REG_SZ", REG_SZ, decode_string},
};

LONG encode_string(const BYTE* data, std::string& text) {
    if (reinterpret_cast<uintptr_t>(data) % alignof(wchar_t) == 0)
        return to_narrow(reinterpret_cast<const wchar_t*>(data), text) ? ERROR_SUCCESS
                                                                       : ERROR_REGISTRY_IO_FAILED;
    std::wstring aligned;
    wchar_t c = L'\0';
    for (memcpy(&c, data, sizeof c); c != L'\0'; memcpy(&c, data, sizeof c)) {
        aligned.push_back(c);
        data += sizeof c;
    }
    return to_narrow(aligned.c_str(), text) ? ERROR_SUCCESS : ERROR_REGISTRY_IO_FAILED;
}

// Deliberate: padded with blanks to four digits, as every file in the field has it; readers skip them.
void encode_number(const BYTE* data, std::string& text) {
    DWORD number = 0;
    memcpy(&number, data, sizeof number);
    char digits[16];
    snprintf(digits, sizeof digits, "%4x", static_cast<unsigned>(number));
    text = digits;
}

void encode_binary(const BYTE* data, DWORD size, std::string& text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    text.reserve(size * kCharsPerByte);
    for (DWORD i = 0; i < size; ++i) {
        if (i != 0)
            text.push_back(' ');
        text.push_back(kDigits[data[i] >> 4]);
        text.push_back(kDigits[data[i] & 15]);
    }
}

} // namespace

const char* type_name(DWORD type) {
    for (const auto& known : kTypes)
        if (known.type == type)
            return known.name;
    return nullptr;
}

LONG decode_value_text(const char* type_text, const char* text, DWORD* type, BYTE* data, DWORD* size) {
    Decoder decode = nullptr;
    DWORD code = 0;
    for (const auto& known : kTypes) {
        if (type_text != nullptr && decode == nullptr && strcasecmp(type_text, known.name) == 0) {
            decode = known.decode;
            code = known.type;
        }
    }
    if (type != nullptr)
        *type = code;
    if (decode == nullptr || size == nullptr)
        return ERROR_SUCCESS;
    return decode(text != nullptr ? text : "", data, size);
}

LONG encode_value_text(DWORD type, const BYTE* data, DWORD size, std::string& text) {
    text.clear();
    if (type_name(type) == nullptr)
        return ERROR_FILE_NOT_FOUND;
    if (type == REG_DWORD && size != kNumberSize)
        return ERROR_INVALID_PARAMETER;
    if (data == nullptr)
        return size == 0 ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    try {
        if (type == REG_SZ)
            return encode_string(data, text);
        if (type == REG_DWORD)
            encode_number(data, text);
        else
            encode_binary(data, size, text);
        return ERROR_SUCCESS;
    } catch (const std::bad_alloc&) {
        return ERROR_REGISTRY_IO_FAILED;
    }
}

} // namespace kalto
