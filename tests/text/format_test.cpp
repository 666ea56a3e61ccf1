#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>
#include <vector>

namespace {

std::string narrow(const char* format, ...) {
    char buffer[256];
    va_list arguments;
    va_start(arguments, format);
    const int result = vsmyprintf(buffer, format, arguments);
    va_end(arguments);
    return result == static_cast<int>(strlen(buffer)) ? buffer : "result " + std::to_string(result);
}

std::wstring wide(const wchar_t* format, ...) {
    wchar_t buffer[256];
    va_list arguments;
    va_start(arguments, format);
    const int result = wvsprintf(buffer, format, arguments);
    va_end(arguments);
    return result == static_cast<int>(wcslen(buffer)) ? buffer : L"result " + std::to_wstring(result);
}

TEST(Format, NarrowTakesNarrowTextInBothCases) {
    EXPECT_EQ(narrow("%s|%S|%c|%C", "abc", "def", 'x', 'y'), "abc|def|x|y");
    EXPECT_EQ(narrow("%C", 0xe4), "\xe4"); // any byte, whatever the locale
    EXPECT_EQ(narrow("%-6S|%6.2S|%*S|%-0+ #C", "abc", "defg", 5, "h", 'i'), "abc   |    de|    h|i");
    EXPECT_EQ(narrow("%ls|%lc|%lS|%hs", L"wide", L'w', L"Wide", "n"), "wide|w|Wide|n");
    EXPECT_EQ(narrow("%8s|%18s", "abc", "def"), "     abc|               def");
    EXPECT_EQ(narrow("%8S|%.8S", L"abc", L"defghijklm"), "     abc|defghijk"); // the 8 hides the S
    EXPECT_EQ(narrow("%8C", L'x'), "       x");
    EXPECT_EQ(narrow("%%S %%|%d%%|%5d|%-5d|%05d|%lld|%x|%.3f", 1, 2, 3, -4, 5LL, 255u, 0.5),
              "%S %|1%|    2|3    |-0004|5|ff|0.500");
}

TEST(Format, WideTakesTextOfItsOwnWidthInLowerCase) {
    EXPECT_EQ(wide(L"%s|%S|%c|%C", L"abc", "def", L'x', 'y'), L"abc|def|x|y");
    EXPECT_EQ(wide(L"%-6s|%6.2s|%*s|%7s", L"abc", L"defg", 5, L"h", L"seven"),
              L"abc   |    de|    h|  seven");
    EXPECT_EQ(wide(L"%-6S|%6.2S|%7C", "abc", "defg", 'h'), L"abc   |    de|      h");
    EXPECT_NE(wide(L"%C", 0xe4), L"\xe4"); // a byte, not the wide character of that number
    EXPECT_EQ(wide(L"%ls|%lc|%hs|%lS", L"wide", L'w', "n", L"Wide"), L"wide|w|n|Wide");
    EXPECT_EQ(wide(L"%8s|%18s|%.8s", "abc", "def", "ghi"),
              L"     abc|               def|ghi"); // the 8 hides the s
    EXPECT_EQ(wide(L"%8S|%8c", L"abc", 'x'), L"     abc|       x");
    EXPECT_EQ(wide(L"%%s %%|%d%%|%5d|%-5d|%05d|%lld|%X", 1, 2, 3, -4, 5LL, 255u),
              L"%s %|1%|    2|3    |-0004|5|FF");
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
    char n[8];
    WCHAR w[8];
    EXPECT_EQ(_sprintf(n, "%S-%d", "a", 7) + wsprintf(w, L"%s-%S-%d", L"a", "b", 7), 8);
    EXPECT_STREQ(n, "a-7");
    EXPECT_STREQ(w, L"a-b-7");
}

TEST(Format, APercentSignAtTheEndIsPassedOnUnchanged) {
    for (const char* text : {"%", "ab%", "ab%-0", "%%%", "%d%", "%9"}) {
        const std::vector<wchar_t> wide_format(text, text + strlen(text) + 1);
        WCHAR w[64] = L"";
        EXPECT_EQ(wsnprintf(w, 64, wide_format.data(), 5), -1) << text;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        char n[64] = "";
        char expected[64] = "";
        EXPECT_EQ(bounded(n, 64, text, 5), snprintf(expected, 64, text, 5)) << text;
        EXPECT_STREQ(n, expected);
#endif
    }
}

} // namespace
