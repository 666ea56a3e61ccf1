// Rewrites formats of both widths between exact blocks and compares with a second way of doing it. The first
// byte is the width, the others are the format.
#include "text/format.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

template <typename Char> std::basic_string<Char> widened(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string converted(char conversion) {
    return conversion == 'C' ? "c" : conversion == 'S' ? "s" : std::string(1, conversion);
}

std::wstring converted(wchar_t conversion) {
    switch (conversion) {
    case L's':
        return L"ls";
    case L'c':
        return L"lc";
    case L'S':
        return L"s";
    case L'C':
        return L"c";
    default:
        return std::wstring(1, conversion);
    }
}

template <typename Char> std::basic_string<Char> expected(const std::basic_string<Char>& format) {
    const auto flags = widened<Char>(" -+#.*012345679");
    std::basic_string<Char> result;
    size_t at = 0;
    while (at < format.size()) {
        const size_t percent = format.find(Char{'%'}, at);
        const size_t conversion =
            percent == format.npos ? format.npos : format.find_first_not_of(flags, percent + 1);
        if (conversion == format.npos)
            return result + format.substr(at);
        result += format.substr(at, conversion - at) + converted(format[conversion]);
        at = conversion + 1;
    }
    return result;
}

template <typename Char> void check(const std::basic_string<Char>& format) {
    const std::vector<Char> exact(format.c_str(), format.c_str() + format.size() + 1);
    std::vector<Char> rewritten(kalto::rewritten_size(format.size()));
    kalto::rewrite_format(exact.data(), rewritten.data());
    if (std::basic_string<Char>(rewritten.data()) != expected(format))
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const std::string text(data + 1, data + size);
    const std::string format = text.substr(0, text.find('\0'));
    if (data[0] % 2 == 0)
        check(format);
    else
        check(widened<wchar_t>(format));
    return 0;
}
