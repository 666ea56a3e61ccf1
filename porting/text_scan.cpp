// Scanning wide text with the Windows meaning of the string conversions: the C library's have it the other
// way round, so the format is rewritten.
#include <cstdarg>
#include <cwchar>
#include <cwctype>
#include <kalto/porting.h>
#include <new>
#include <string>

namespace {

bool is_length(wchar_t character) {
    return wcschr(L"hlLqjzt", character) != nullptr;
}

// Behind the set of %[...]; a bracket that comes first belongs to the set.
const wchar_t* set_end(const wchar_t* bracket) {
    const wchar_t* at = bracket + 1;
    if (*at == L'^')
        ++at;
    if (*at == L']')
        ++at;
    while (*at != L'\0' && *at != L']')
        ++at;
    return *at == L'\0' ? at : at + 1;
}

// Copies the conversion behind a percent sign and returns the place behind it.
const wchar_t* rewrite_conversion(const wchar_t* at, std::wstring& out) {
    while (*at == L'*' || iswdigit(static_cast<wint_t>(*at)) != 0)
        out += *at++;
    const wchar_t* const length = at;
    while (*at != L'\0' && is_length(*at))
        ++at;
    const bool narrow = *at == L'S' || *at == L'C' || *length == L'h';
    const bool text = *at != L'\0' && wcschr(L"sScC[", *at) != nullptr;
    if (!text)
        out.append(length, at);
    else if (!narrow)
        out += L'l';
    if (*at == L'\0')
        return at;
    if (*at == L'[') {
        const wchar_t* const end = set_end(at);
        out.append(at, end);
        return end;
    }
    out += text ? static_cast<wchar_t>(towlower(static_cast<wint_t>(*at))) : *at;
    return at + 1;
}

std::wstring rewrite(const wchar_t* format) {
    std::wstring out;
    while (*format != L'\0') {
        out += *format;
        if (*format++ == L'%')
            format = rewrite_conversion(format, out);
    }
    return out;
}

} // namespace

int KaltoScanText(const WCHAR* text, const WCHAR* format, ...) {
    try {
        const std::wstring rewritten = rewrite(format);
        va_list arguments;
        va_start(arguments, format);
        const int result = vswscanf(text, rewritten.c_str(), arguments);
        va_end(arguments);
        return result;
    } catch (const std::bad_alloc&) {
        return EOF;
    }
}
