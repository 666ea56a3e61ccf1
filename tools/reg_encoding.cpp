// The encodings of .reg files.
#include "tools/reg_text.h"

namespace kaltoreg {

namespace {

constexpr wchar_t kFirstSurrogate = 0xD800;
constexpr wchar_t kSecondSurrogate = 0xDC00;
constexpr wchar_t kBehindSurrogates = 0xE000;
constexpr wchar_t kSupplementary = 0x10000;

} // namespace

std::string utf16_bytes(const std::wstring& text) {
    std::string bytes;
    const auto put = [&](wchar_t unit) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    };
    for (wchar_t c : text) {
        if (c >= kSupplementary) {
            put(kFirstSurrogate + ((c - kSupplementary) >> 10));
            put(kSecondSurrogate + ((c - kSupplementary) & 0x3FF));
        } else {
            put(c);
        }
    }
    return bytes;
}

bool from_utf16_bytes(const std::string& bytes, std::wstring& text) {
    text.clear();
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto unit = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                               static_cast<unsigned char>(bytes[i + 1]) << 8);
        const bool second = unit >= kSecondSurrogate && unit < kBehindSurrogates;
        const bool open = !text.empty() && text.back() >= kFirstSurrogate && text.back() < kSecondSurrogate;
        if (second != open)
            return false;
        if (second)
            text.back() =
                kSupplementary + ((text.back() - kFirstSurrogate) << 10) + (unit - kSecondSurrogate);
        else
            text.push_back(unit);
    }
    return bytes.size() % 2 == 0 &&
           (text.empty() || text.back() < kFirstSurrogate || text.back() >= kSecondSurrogate);
}

bool decode_file(const std::string& bytes, std::wstring& text) {
    if (bytes.compare(0, 2, "\xFF\xFE") == 0)
        return from_utf16_bytes(bytes.substr(2), text) && text.find(L'\0') == std::wstring::npos;
    // A zero byte would end the text early, and what stands behind it would be lost.
    return bytes.find('\0') == std::string::npos &&
           to_wide(bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? bytes.substr(3) : bytes, text);
}

} // namespace kaltoreg
