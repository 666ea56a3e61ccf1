// Times and dates as text, in the C locale.
#include "calendar_model.h"

#include <gtest/gtest.h>
#include <kalto/core.h>

namespace {

const SYSTEMTIME kAfternoon = {2026, 11, 0, 15, 14, 5, 9, 0};

// A buffer of exactly one character more than is announced, so that the sanitizer sees any further one.
struct Written {
    int result;
    DWORD error;
    std::wstring text;
};

using Call = decltype(&GetTimeFormat);

Written write(Call call, DWORD flags, const SYSTEMTIME& time, int announced) {
    std::wstring buffer(static_cast<std::size_t>(announced) + 1, L'~');
    const int result = call(LOCALE_USER_DEFAULT, flags, &time, nullptr, &buffer[0], announced);
    return {result, GetLastError(), buffer};
}

TEST(DateFormat, FlagsSelectTheText) {
    const struct {
        Call call;
        DWORD flags;
        const wchar_t* expected;
    } cases[] = {
        {GetTimeFormat, 0, L"02:05:09 PM"},
        {GetTimeFormat, 1, L"14:05"},
        {GetTimeFormat, 2, L"14:05:09"},
        {GetTimeFormat, 3, L"14:05"},
        {GetTimeFormat, 4 | 8, L"02:05:09 PM"},
        {GetTimeFormat, 0xFFFFFFFE, L"14:05:09"},
        {GetDateFormat, 2, L"Sunday, November 15, 2026"},
        {GetDateFormat, 0, L"2026-November-15"},
        {GetDateFormat, 3, L"2026-November-15"}, // not exactly 2
    };
    for (const auto& c : cases) {
        const auto length = static_cast<int>(wcslen(c.expected));
        const Written fitting = write(c.call, c.flags, kAfternoon, length); // the terminator lies beyond
        EXPECT_EQ(fitting.result, length);
        EXPECT_EQ(fitting.error, DWORD{0});
        EXPECT_EQ(fitting.text, std::wstring(c.expected) + L'\0');
        const Written too_small = write(c.call, c.flags, kAfternoon, length - 1);
        EXPECT_EQ(too_small.result, length);
        EXPECT_EQ(too_small.error, DWORD{36});
        EXPECT_EQ(too_small.text, std::wstring(static_cast<std::size_t>(length), L'~'));
    }
}

TEST(DateFormat, FieldsAreNotChecked) {
    const SYSTEMTIME odd = {65535, 13, 9, 65535, 65535, 99, 99, 0}, zero = {};
    EXPECT_EQ(write(GetDateFormat, 2, odd, 99).text.c_str(), std::wstring(L"?, ? 65535, 65535"));
    EXPECT_EQ(write(GetDateFormat, 1, zero, 99).text.c_str(), std::wstring(L"0-?-00"));
    EXPECT_EQ(write(GetTimeFormat, 2, odd, 99).text.c_str(), std::wstring(L"65535:99:99"));
    EXPECT_EQ(write(GetTimeFormat, 0, zero, 99).text.c_str(), std::wstring(L"12:00:00 AM"));
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
        {&kAfternoon, L"HH:mm", true, 20, 0, 22}, {&kAfternoon, L"", true, 0, 0, 22},
        {nullptr, nullptr, true, 11, 11, 0}, // now
    };
    for (const auto& c : cases) {
        wchar_t buffer[12] = L"~";
        SetLastError(99);
        EXPECT_EQ(GetTimeFormat(0, 0, c.time, c.format, c.buffer ? buffer : nullptr, c.size), c.expected);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(buffer[0] == L'~', c.error != 0);
    }
}

} // namespace
