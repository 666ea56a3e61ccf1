#include <cstdarg>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

namespace {

// What a call prints, or its result when that is not the length of it.
template <typename Char, typename... Arguments>
std::basic_string<Char> printed(int (*print)(Char*, const Char*, ...), const Char* format,
                                Arguments... arguments) {
    Char buffer[256];
    const int result = print(buffer, format, arguments...);
    const std::basic_string<Char> text = buffer;
    return static_cast<size_t>(result) == text.size() ? text : std::basic_string<Char>(1, '!');
}

TEST(Format, NarrowTakesNarrowTextInBothCases) {
    const auto narrow = [](auto... arguments) { return printed<char>(_sprintf, arguments...); };
    EXPECT_EQ(narrow("%s|%S|%c|%C", "abc", "def", 'x', 0xe4), "abc|def|x|\xe4"); // whatever the locale
    EXPECT_EQ(narrow("%-6S|%6.2S|%*S|%-0+ #C", "abc", "defg", 5, "h", 'i'), "abc   |    de|    h|i");
    EXPECT_EQ(narrow("%ls|%lc|%lS|%hs", L"wide", L'w', L"Wide", "n"), "wide|w|Wide|n");
    EXPECT_EQ(narrow("%18s|%8S|%.8S|%8C", "abc", L"abc", L"defghijklm", L'x'),
              "               abc|     abc|defghijk|       x"); // the 8 hides the S
    EXPECT_EQ(narrow("%%S %%|%d%%|%5d|%lld|%x|%.3f", 1, 2, 5LL, 255u, 0.5), "%S %|1%|    2|5|ff|0.500");
}

TEST(Format, WideTakesTextOfItsOwnWidthInLowerCase) {
    const auto wide = [](auto... arguments) { return printed<wchar_t>(wsprintf, arguments...); };
    EXPECT_EQ(wide(L"%s|%S|%c|%C", L"abc", "def", 0xe4, 'y'), L"abc|def|\xe4|y");
    EXPECT_EQ(wide(L"%-6s|%6.2s|%*s|%7S|%7C", L"abc", L"defg", 5, L"h", "seven", 'h'),
              L"abc   |    de|    h|  seven|      h");
    EXPECT_NE(wide(L"%C", 0xe4), L"\xe4"); // a byte, not the wide character of that number
    EXPECT_EQ(wide(L"%ls|%lc|%hs|%lS", L"wide", L'w', "n", L"Wide"), L"wide|w|n|Wide");
    EXPECT_EQ(wide(L"%18s|%.8s|%8S|%8c", "abc", "def", L"abc", 'x'),
              L"               abc|def|     abc|       x"); // the 8 hides the s
    EXPECT_EQ(wide(L"%%s %%|%d%%|%5d|%lld|%X", 1, 2, 5LL, 255u), L"%s %|1%|    2|5|FF");
}

int bounded(char* buffer, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = vsnmyprintf(buffer, size, format, arguments);
    va_end(arguments);
    return result;
}

TEST(Format, BoundsAreThoseOfTheCLibrary) {
    for (size_t size : {6u, 5u, 1u, 0u}) {
        char n[8] = "#######";
        WCHAR w[8] = L"#######";
        const std::string fits("abc12", size > 0 ? size - 1 : 0);
        EXPECT_EQ(bounded(n, size, "%S%d", "abc", 12), 5); // what a larger buffer would have held
        EXPECT_EQ(wsnprintf(w, size, L"%s%d", L"abc", 12), size > 5 ? 5 : -1);
        EXPECT_STREQ(n, size > 0 ? fits.c_str() : "#######");
        EXPECT_EQ(std::wstring(w, fits.size()), std::wstring(fits.begin(), fits.end()));
        EXPECT_EQ(n[6] + w[6], 2 * '#');
    }
}

TEST(Format, APercentSignAtTheEndIsPassedOnUnchanged) {
    WCHAR text[64] = L"";
    for (const WCHAR* format : {L"%", L"ab%", L"ab%-0", L"%%%", L"%d%", L"%9"})
        EXPECT_EQ(wsnprintf(text, 64, std::wstring(format).c_str(), 5), -1) << format;
}

} // namespace
