#include <gtest/gtest.h>
#include <kalto/text.h>

namespace {

// The 64-bit one skips spaces alone.
TEST(Numbers, FromText) {
    const struct {
        const wchar_t* text;
        int value;
        long long value64;
    } cases[] = {{L"  -12x", -12, -12},
                 {L"+-7", 0, 0},
                 {L"\t\n\v 42", 42, 0},
                 {L"-2147483648", -2147483647 - 1, -2147483648LL},
                 {L"-4294967301", -5, -4294967301LL},
                 {L"+9223372036854775807", -1, 9223372036854775807LL},
                 {L"\u0661", 0, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(_wtoi(c.text), c.value) << c.text;
        EXPECT_EQ(_wtol(c.text), c.value) << c.text;
        EXPECT_EQ(_wtoi64(c.text), c.value64) << c.text;
    }
}

// A sign and the magnitude in every radix, never a bit pattern.
TEST(Numbers, ToText) {
    const struct {
        LONG value;
        int radix;
        const char* text;
    } cases[] = {{0, 10, "0"},
                 {-255, 16, "-ff"},
                 {35, 36, "z"},
                 {-2147483647 - 1, 2, "-10000000000000000000000000000000"},
                 {5, 1, "000000000000000000000000000000000"},
                 {5, 0, ""},
                 {-5, -3, ""}};
    for (const auto& c : cases) {
        char buffer[40] = "#######";
        EXPECT_STREQ(_ltoa(c.value, buffer, c.radix), c.text) << c.radix;
    }
}

} // namespace
