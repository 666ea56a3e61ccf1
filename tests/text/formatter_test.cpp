#include <algorithm>
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
    const auto length = static_cast<size_t>(android_vsprint(buffer, format, arguments));
    va_end(arguments);
    EXPECT_EQ(std::string(buffer + length, 2), std::string("\0#", 2)) << format;
    return {buffer, length};
}

TEST(Formatter, Numbers) {
    EXPECT_EQ(formatted("%d|%d|%d|%u", 0, -5, -2147483647 - 1, -1), "0|-5|-2147483648|4294967295");
    EXPECT_EQ(formatted("%5d|%-5d|%8d|%05d|%0005d", -5, -5, 1234567, -5, 5),
              "   -5|-5   | 1234567|-0005|00005");
    EXPECT_EQ(formatted("%-05d|%-05d|%0d|%02d", 5, -5, -5, -123),
              "50000|-5000|-5|-123"); // zeros on the right
    EXPECT_EQ(formatted("%x|%X|%06x|%3c|%-03c|%%", -1, 0xabc, 0xabc, 'x', 'x'),
              "ffffffff|ABC|000abc|  x|x00|%");
}

TEST(Formatter, DropsWhatIsNoConversionAndTakesNoArgumentForIt) {
    EXPECT_EQ(formatted("%ld|%q|%5%|%0-5d|%.2d|%+d|%d", 7), "d|||5d|2d|d|7");
    for (const char* cut : {"%d%", "%d%-05", "%d%5l"})
        EXPECT_EQ(formatted(cut, 1), "1") << cut;
}

TEST(Formatter, Text) {
    const char* const none = nullptr;
    EXPECT_EQ(formatted("%s|%5s|%-5s|%2s|%05s|%-05s", "a", "b", "c", "long", "e", "f"),
              "a|    b|c    |long|0000e|f0000");
    EXPECT_EQ(formatted("%8s|%s|%9ls", none, "", none), "  (null)||   (null)");
    // More arguments than machine registers.
    EXPECT_EQ(formatted("%d%s%d%3ls%d%-3ls%d%ls%u%x", 1, "a", 2, L"b", 3, L"c", 4, L"d", 5u, 6u),
              "1a2  b3c  4d56");
}

TEST(Formatter, WideTextIsConvertedWithinItsLength) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(formatted("%ls|%6ls|%-4ls|", L"a\u00fc", L"\u20ac", L"\u00fc\u00fc"),
              "a\xc3\xbc|      |\xc3\xbc  |");
    ASSERT_NE(setlocale(LC_ALL, "C"), nullptr);
    EXPECT_EQ(formatted("%4ls|", L"ab\u00fc"), "  ab|");
}

TEST(Formatter, WideTime) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    struct tm time = {};
    time.tm_year = 109;
    time.tm_mday = 3;
    const struct {
        size_t size;
        const wchar_t* format;
        std::wstring buffer; // a dot is a zero
    } cases[] = {{8, L"%Y-%d", L"2009-03."},
                 {7, L"%Y-%d", L".......#"},
                 {6, L"%Y", L"2009..##"},
                 {0, L"%Y", L"########"},
                 {7, L"%d:\u20ac", L"03:\u20ac...#"}, // exactly seven bytes
                                                      // with the terminator
                 {6, L"%d:\u20ac", L"......##"}};
    for (const auto& c : cases) {
        std::wstring buffer(8, L'#');
        EXPECT_EQ(android_wcsftime(buffer.data(), c.size, c.format, &time), buffer.data());
        std::replace(buffer.begin(), buffer.end(), L'\0', L'.');
        EXPECT_EQ(buffer, c.buffer) << c.size;
    }
}

} // namespace
