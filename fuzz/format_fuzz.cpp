// Rewrites formats of both widths between exact blocks and compares with a second way of doing it. The first
// byte is the width, the others are the format.
#include "text/format.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::string converted(char conversion, bool wide) {
    const std::string from = wide ? "scSC" : "SC";
    const char* const to[] = {wide ? "ls" : "s", wide ? "lc" : "c", "s", "c"};
    const size_t place = from.find(conversion);
    return place == from.npos ? std::string(1, conversion) : to[place];
}

std::string expected(const std::string& format, bool wide) {
    std::string result;
    size_t at = 0;
    while (at < format.size()) {
        const size_t percent = format.find('%', at);
        const size_t conversion =
            percent == format.npos ? percent : format.find_first_not_of(" -+#.*012345679", percent + 1);
        if (conversion == format.npos)
            return result + format.substr(at);
        result += format.substr(at, conversion - at) + converted(format[conversion], wide);
        at = conversion + 1;
    }
    return result;
}

template <typename Char> void check(const std::string& format, bool wide) {
    const std::vector<Char> exact(format.c_str(), format.c_str() + format.size() + 1);
    std::vector<Char> rewritten(kalto::rewritten_size(format.size()));
    kalto::rewrite_format(exact.data(), rewritten.data());
    const std::string model = expected(format, wide);
    if (std::basic_string<Char>(rewritten.data()) != std::basic_string<Char>(model.begin(), model.end()))
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const std::string text(data + 1, data + size);
    const std::string format = text.substr(0, text.find('\0'));
    if (data[0] % 2 == 0)
        check<char>(format, false);
    else
        check<wchar_t>(format, true);
    return 0;
}
