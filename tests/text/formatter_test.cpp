#include <clocale>
#include <cstdarg>
#include <ctime>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

namespace {

std::string formatted(const char* format, ...) {
    char buffer[256];
    memset(buffer, '#', sizeof buffer);
    va_list arguments;
    va_start(arguments, format);
    const int result = android_vsprint(buffer, format, arguments);
    va_end(arguments);
    EXPECT_EQ(buffer[result], '\0') << format;
    EXPECT_EQ(buffer[result + 1], '#') << format;
    return {buffer, static_cast<size_t>(result)};
}

struct NumberCase {
    const char* format;
    int value;
    const char* text;
};

TEST(Formatter, Numbers) {
    const NumberCase cases[] = {
        {"%d", 0, "0"},
        {"%d", -5, "-5"},
        {"%d", -2147483647 - 1, "-2147483648"},
        {"%5d", -5, "   -5"},
        {"%-5d|", -5, "-5   |"},
        {"%05d", 5, "00005"},
        {"%05d", -5, "-0005"},
        {"%-05d", 5, "50000"},
        {"%-05d", -5, "-5000"},
        {"%0d", -5, "-5"},
        {"%02d", -123, "-123"},
        {"%0005d", 5, "00005"},
        {"%8d", 1234567, " 1234567"},
        {"%3d", 12345, "12345"},
        {"%u", -1, "4294967295"},
        {"%u", 0, "0"},
        {"%x", -1, "ffffffff"},
        {"%X", 0xabc, "ABC"},
        {"%06x", 0xabc, "000abc"},
        {"%c", 'x', "x"},
        {"%3c|", 'x', "  x|"},
        {"%-03c|", 'x', "x00|"},
        {"%%%d%%", 1, "%1%"},
        {"%d%", 1, "1"},
        {"%d%-05", 1, "1"},
        {"%d%5l", 1, "1"},
        // What is not a conversion is dropped and takes no argument.
        {"%ld|%d", 7, "d|7"},
        {"%q%d", 7, "7"},
        {"%5%d", 7, "d"},
        {"%0-5d %d", 7, "5d 7"},
        {"%+d %d", 7, "d 7"},
        {"%.2d %d", 7, "2d 7"},
    };
    for (const NumberCase& c : cases)
        EXPECT_EQ(formatted(c.format, c.value), c.text) << c.format;
}

TEST(Formatter, Text) {
    const char* const none = nullptr;
    const wchar_t* const wide_none = nullptr;
    EXPECT_EQ(formatted("%s|%5s|%-5s|%2s", "a", "b", "c", "long"), "a|    b|c    |long");
    EXPECT_EQ(formatted("%05s|%-05s", "a", "b"), "0000a|b0000");
    EXPECT_EQ(formatted("%8s|%s|%9ls", none, "", wide_none), "  (null)||   (null)");
    EXPECT_EQ(formatted("%ls|%5ls|%-5ls|%d", L"a", L"b", L"c", 4), "a|    b|c    |4");
    EXPECT_EQ(formatted("%c%c", 'a', 0) + "|", std::string("a\0|", 3));
    // More arguments than machine registers.
    EXPECT_EQ(formatted("%d%s%d%s%d%s%d%ls%u%x", 1, "a", 2, "b", 3, "c", 4, L"d", 5u, 6u), "1a2b3c4d56");
}

TEST(Formatter, WideTextIsConvertedWithinItsLength) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(formatted("%ls|%6ls", L"a\u00fc", L"\u20ac"), "a\xc3\xbc|      ");
    EXPECT_EQ(formatted("%-4ls|", L"\u00fc\u00fc"), "\xc3\xbc  |");
    ASSERT_NE(setlocale(LC_ALL, "C"), nullptr);
    EXPECT_EQ(formatted("%4ls|", L"ab\u00fc"), "  ab|");
}

struct TimeCase {
    size_t size;
    const wchar_t* format;
    const wchar_t* text;
};

TEST(Formatter, WideTime) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    struct tm time = {};
    time.tm_year = 109;
    time.tm_mon = 1;
    time.tm_mday = 3;
    const TimeCase cases[] = {
        {16, L"%Y-%m-%d", L"2009-02-03"},
        {11, L"%Y-%m-%d", L"2009-02-03"},
        {10, L"%Y-%m-%d", L""},
        {8, L"%d.\u20ac", L"03.\u20ac"},
        {6, L"%d.\u20ac", L""}, // seven bytes with the terminator
        {4, L"", L""},
        {0, L"%Y", L"################"},
    };
    for (const TimeCase& c : cases) {
        WCHAR buffer[17];
        std::fill_n(buffer, 16, L'#');
        buffer[16] = L'\0';
        EXPECT_EQ(android_wcsftime(buffer, c.size, c.format, &time), buffer);
        EXPECT_STREQ(buffer, c.text);
        for (size_t i = wcslen(c.text); i < 16; ++i)
            EXPECT_EQ(buffer[i], i < c.size ? L'\0' : L'#') << c.size << " at " << i;
    }
}

} // namespace
