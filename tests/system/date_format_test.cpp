// Times and dates as text, in the C locale.
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <kalto/system.h>

namespace {

const SYSTEMTIME kAfternoon = {2026, 11, 0, 15, 14, 5, 9, 0}, kZero = {},
                 kOdd = {65535, 13, 9, 65535, 65535, 99, 99, 0};

TEST(DateFormat, FlagsSelectTheTextAndFieldsAreNotChecked) {
    const struct {
        decltype(&GetTimeFormat) call;
        DWORD flags;
        const SYSTEMTIME& time;
        const wchar_t* expected;
    } cases[] = {
        {GetTimeFormat, 4 | 8, kAfternoon, L"02:05:09 PM"},
        {GetTimeFormat, 3, kAfternoon, L"14:05"},
        {GetTimeFormat, 0xFFFFFFFE, kAfternoon, L"14:05:09"},
        {GetTimeFormat, 0, kZero, L"12:00:00 AM"},
        {GetDateFormat, 2, kAfternoon, L"Sunday, November 15, 2026"},
        {GetDateFormat, 3, kAfternoon, L"2026-November-15"}, // not exactly 2
        {GetDateFormat, 2, kOdd, L"?, ? 65535, 65535"},
        {GetDateFormat, 1, kZero, L"0-?-00"},
    };
    for (const auto& c : cases)
        for (const bool fits : {true, false}) {
            const auto length = static_cast<int>(wcslen(c.expected));
            const int announced = fits ? length : length - 1;
            // Exactly one character more than is announced, so that the sanitizer sees any further one.
            std::wstring buffer(static_cast<std::size_t>(announced) + 1, L'~');
            const std::wstring untouched = buffer;
            EXPECT_EQ(c.call(LOCALE_USER_DEFAULT, c.flags, &c.time, nullptr, &buffer[0], announced), length);
            EXPECT_EQ(GetLastError(), fits ? DWORD{0} : DWORD{36});
            EXPECT_EQ(buffer, fits ? std::wstring(c.expected) + L'\0' : untouched);
        }
}

TEST(DateFormat, RefusalsAndQueries) {
    const struct {
        const SYSTEMTIME* time;
        const wchar_t* format;
        bool buffer;
        int size, expected;
        DWORD error;
    } cases[] = {
        {&kAfternoon, nullptr, false, 0, 11, 36}, // how long would it be
        {&kAfternoon, nullptr, true, -5, 11, 36}, {&kAfternoon, nullptr, false, 20, 0, 22},
        {&kAfternoon, L"", true, 0, 0, 22},       {nullptr, nullptr, true, 11, 11, 0}, // now
    };
    for (const auto& c : cases) {
        wchar_t buffer[12] = L"~";
        EXPECT_EQ(GetTimeFormat(0, 0, c.time, c.format, c.buffer ? buffer : nullptr, c.size), c.expected);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(buffer[0] == L'~', c.error != 0);
    }
}

} // namespace
