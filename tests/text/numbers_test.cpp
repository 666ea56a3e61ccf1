#include <gtest/gtest.h>
#include <kalto/text.h>

namespace {

struct ParseCase {
    const wchar_t* text;
    int value;
    long long value64;
};

TEST(Numbers, FromText) {
    const ParseCase cases[] = {
        {L"", 0, 0},
        {L"42", 42, 42},
        {L"  -12x", -12, -12},
        {L"\t\n\v 42", 42, 0}, // the 64-bit one skips spaces alone
        {L"+7", 7, 7},
        {L"+-7", 0, 0},
        {L"- 7", 0, 0},
        {L"x7", 0, 0},
        {L"0012", 12, 12},
        {L"2147483647", 2147483647, 2147483647},
        {L"-2147483648", -2147483647 - 1, -2147483648LL},
        {L"4294967297", 1, 4294967297LL},
        {L"-4294967301", -5, -4294967301LL},
        {L"3000000000", static_cast<int>(3000000000u), 3000000000LL},
        {L"9223372036854775807", -1, 9223372036854775807LL},
        {L"18446744073709551621", 5, 5},
        {L"\u0661", 0, 0}, // a digit, but not a decimal one of the C library
    };
    for (const ParseCase& c : cases) {
        EXPECT_EQ(_wtoi(c.text), c.value) << c.text;
        EXPECT_EQ(_wtol(c.text), c.value) << c.text;
        EXPECT_EQ(_wtoi64(c.text), c.value64) << c.text;
    }
}

struct PrintCase {
    LONG value;
    int radix;
    const char* text;
};

TEST(Numbers, ToText) {
    const PrintCase cases[] = {
        {0, 10, "0"},
        {-255, 16, "-ff"},
        {255, 2, "11111111"},
        {-2147483647 - 1, 10, "-2147483648"},
        {-2147483647 - 1, 2, "-10000000000000000000000000000000"},
        {35, 36, "z"},
        {2147483647, 8, "17777777777"},
        {5, 1, "000000000000000000000000000000000"}, // thirty-three digits at most
        {5, 0, ""},
        {-5, -3, ""},
    };
    for (const PrintCase& c : cases) {
        char buffer[40];
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(_ltoa(c.value, buffer, c.radix), buffer);
        EXPECT_STREQ(buffer, c.text) << c.radix;
    }
}

TEST(Numbers, LargerAndSmallerLeaveTheStandardOnesUsable) {
    using namespace std;
    EXPECT_EQ(max(-1, 3), 3);
    EXPECT_EQ(max(3, -1), 3);
    EXPECT_EQ(min(-1, 3), -1);
    EXPECT_EQ(min(3, -1), -1);
    EXPECT_EQ(max(2.5, 1.5), 2.5);
    EXPECT_EQ(std::max(1u, 4000000000u), 4000000000u);
}

} // namespace
