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
    wchar_t buffer[12] = L"~";
    const auto answer = [](const SYSTEMTIME* time, const wchar_t* format, wchar_t* text, int size) {
        const int length = GetTimeFormat(0, 0, time, format, text, size);
        return std::to_string(length) + " " + std::to_string(GetLastError());
    };
    EXPECT_EQ(answer(&kAfternoon, nullptr, nullptr, 0), "11 36"); // how long would it be
    EXPECT_EQ(answer(&kAfternoon, nullptr, buffer, -5), "11 36");
    EXPECT_EQ(answer(&kAfternoon, nullptr, nullptr, 20), "0 22");
    EXPECT_EQ(answer(&kAfternoon, L"", buffer, 0), "0 22");
    EXPECT_STREQ(buffer, L"~");
    EXPECT_EQ(answer(nullptr, nullptr, buffer, 11), "11 0"); // now
}

} // namespace
