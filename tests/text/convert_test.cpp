#include "text/convert.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>
#include <vector>

namespace {

// Each test runs in a process of its own, so the locale stays where a case puts it.
void use_locale(const char* name) {
    ASSERT_NE(setlocale(LC_ALL, name), nullptr) << name;
}

constexpr const char* kC = "C";
constexpr const char* kUtf8 = "C.UTF-8";

TEST(Conversion, KeepsTheWholeTextWhateverItsLength) {
    use_locale(kUtf8);
    for (size_t length : {0u, 1u, 84u, 85u, 86u, 255u, 256u, 257u, 5000u}) {
        const std::wstring wide(length, L'\u20ac');
        std::string narrow = "left over";
        ASSERT_TRUE(kalto::to_narrow(wide.c_str(), narrow));
        EXPECT_EQ(narrow.size(), 3 * length);
        std::wstring back = L"left over";
        ASSERT_TRUE(kalto::to_wide(narrow.c_str(), back));
        EXPECT_EQ(back, wide);
    }
}

TEST(Conversion, ReportsTextThatTheLocaleCannotExpress) {
    std::string narrow = "left over";
    std::wstring wide = L"left over";
    use_locale(kC);
    errno = 0;
    EXPECT_FALSE(kalto::to_narrow((std::wstring(300, L'a') + L"\u20ac").c_str(), narrow));
    EXPECT_EQ(errno, EILSEQ);
    EXPECT_EQ(narrow, "");
    use_locale(kUtf8);
    for (const char* broken : {"ab\xff", "\xc3", "ab\xe2\x82", "\xed\xa0\x80"}) {
        errno = 0;
        EXPECT_FALSE(kalto::to_wide(broken, wide)) << broken;
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(wide, L"");
    }
}

TEST(Conversion, TurnsBackslashesOfAPath) {
    use_locale(kUtf8);
    std::string path;
    ASSERT_TRUE(kalto::to_path(L"\\a\\\u00fc/b\\", path));
    EXPECT_EQ(path, "/a/\xc3\xbc/b/");
    use_locale(kC);
    EXPECT_FALSE(kalto::to_path(L"\\a\\\u00fc", path));
    EXPECT_EQ(path, "");
}

TEST(Conversion, ExportedHelpersKeepTheirLimits) {
    use_locale(kUtf8);
    WCHAR wide[8];
    std::fill_n(wide, 8, L'#');
    EXPECT_EQ(mymbstowcs(wide, "a\xc3\xbc"), wide);
    EXPECT_EQ(std::wstring(wide, 4), std::wstring(L"a\u00fc\0#", 4));
    const std::string untouched(8, '#');
    std::string narrow = untouched;
    EXPECT_EQ(mywcstombs(narrow.data(), L"abc"), narrow.data());
    EXPECT_EQ(narrow, std::string("abc\0####", 8));
    // Three characters and the terminator: four bytes, two whole characters, no terminator.
    narrow = untouched;
    mywcstombs(narrow.data(), L"\u00fc\u00fc\u00fc");
    EXPECT_EQ(narrow, "\xc3\xbc\xc3\xbc####");
    // The second character would pass the limit of three bytes.
    narrow = untouched;
    mywcstombs(narrow.data(), L"\u00fc\u00fc");
    EXPECT_EQ(narrow, "\xc3\xbc######");
    use_locale(kC);
    narrow = untouched;
    mywcstombs(narrow.data(), L"a\u00fc");
    EXPECT_EQ(narrow, "a#######");
}

// The sources stand in blocks that end with the last described unit, so that the address sanitizer sees a
// look beyond.
template <typename Char> std::vector<Char> exact(const std::basic_string<Char>& text) {
    return {text.begin(), text.end()};
}

struct ToNarrowCase {
    const char* locale;
    std::wstring source; // with the terminator where one is described
    int length;
    int size;
    int result;
    std::string written;
};

TEST(CountedConversion, ToMultiByteFollowsItsRules) {
    const std::wstring abc(L"abc\0", 4);
    const std::wstring euro(L"\u20ac\0", 2);
    const std::wstring mixed(L"a\u00fc\0", 3);
    const ToNarrowCase cases[] = {
        // Size queries: the limit is the source length.
        {kC, abc, -1, 0, 4, ""},
        {kUtf8, abc, -1, 0, 4, ""},
        {kC, L"abc", 3, 0, 3, ""},
        {kC, L"abc", 2, 0, 2, ""},
        {kC, abc, 4, 0, 4, ""},
        {kC, std::wstring(L"ab\0cd", 5), 5, 0, 3, ""},
        {kC, L"", 0, 0, 0, ""},
        {kC, std::wstring(L"\0", 1), -1, 0, 1, ""},
        {kUtf8, euro, -1, 0, 2, ""},                             // 3 bytes, limit 2
        {kUtf8, mixed, -1, 0, 3, ""},                            // 3 bytes, limit 3
        {kUtf8, L"\u00fc\u00fc", 2, 0, 2, ""},                   // no terminator: always the limit
        {kUtf8, std::wstring(L"\u00fc\0xy\0", 5), 5, 0, 2, ""},  // 2 bytes, and no zero at place 2
        {kUtf8, std::wstring(L"\u00fc\0\0y\0", 5), 5, 0, 3, ""}, // 2 bytes, and a zero at place 2
        {kC, L"a\u00fc", 2, 0, -1, ""},
        // Room for everything.
        {kC, abc, -1, 10, 4, std::string("abc\0", 4)},
        {kC, L"abc", 3, 10, 3, "abc"},
        {kC, std::wstring(L"ab\0cd", 5), 5, 10, 3, std::string("ab\0", 3)},
        {kUtf8, euro, -1, 10, 0, ""}, // the limit of two bytes does not hold one euro sign
        {kUtf8, mixed, -1, 10, 3, "a\xc3\xbc"},
        {kUtf8, std::wstring(L"\u00fc\0xyz", 5), 5, 10, 3, std::string("\xc3\xbc\0", 3)},
        // Short destinations.
        {kC, abc, -1, 2, 2, "ab"},
        {kC, abc, -1, 3, 3, "abc"},
        {kUtf8, mixed, -1, 2, 2, "a"},     // one byte, then a zero one place after the one left over
        {kUtf8, L"a\u00fc", 2, 2, 1, "a"}, // the same without a described zero
        {kUtf8, L"a\u00fcx", 3, 2, 1, "a"},
        {kUtf8, euro, -1, 1, 0, ""},
        {kUtf8, L"a\u00fc", 2, 1, 1, "a"},
        // What cannot be expressed is -1, whatever stands before it.
        {kC, L"\u00fcx", 2, 10, -1, ""},
        {kC, L"ab\u00fc", 3, 10, -1, "ab"},
        {kC, L"ab\u00fc", 3, 2, 2, "ab"},
        // A negative size describes no buffer.
        {kC, abc, -1, -1, -1, ""},
        {kC, abc, -1, -7, -7, ""},
    };
    for (const ToNarrowCase& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.locale << " length " << c.length << " size " << c.size << " row " << &c - cases);
        use_locale(c.locale);
        const auto source = exact(c.source);
        char to[16];
        std::fill_n(to, 16, '#');
        BOOL used = 7;
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, source.data(), c.length, to, c.size, "?", &used), c.result);
        EXPECT_EQ(used, FALSE);
        EXPECT_EQ(std::string(to, 16), c.written + std::string(16 - c.written.size(), '#'));
    }
}

struct ToWideCase {
    const char* locale;
    std::string source;
    int length;
    int size;
    int result;
    std::wstring written;
};

TEST(CountedConversion, ToWideFollowsItsRules) {
    const std::string abc("abc\0", 4);
    const std::string umlaut("\xc3\xbc\0", 3);
    const ToWideCase cases[] = {
        {kC, abc, -1, 0, 4, L""},
        {kC, "abc", 3, 0, 3, L""},
        {kC, "abc", 2, 0, 2, L""},
        {kC, "", 0, 0, 0, L""},
        {kC, std::string("ab\0cd", 5), 5, 0, 3, L""},
        {kUtf8, abc, -1, 0, 4, L""},
        {kUtf8, umlaut, -1, 0, 1, L""}, // place 1 is the middle of the character
        {kUtf8,
         std::string("\xc3\xbc"
                     "b\0",
                     4),
         -1, 0, 2, L""},
        {kUtf8, "\xc3\xbc", 2, 0, 1, L""},
        {kUtf8,
         "\xc3\xbc"
         "b",
         2, 0, 1, L""},
        {kUtf8, "\xc3", 1, 0, -1, L""},
        {kUtf8, "a\xff", 2, 0, -1, L""},
        {kC, abc, -1, 10, 4, std::wstring(L"abc\0", 4)},
        {kC, "abc", 3, 10, 3, L"abc"},
        {kC, abc, -1, 2, 2, L"ab"},
        {kUtf8, umlaut, -1, 10, 2, std::wstring(L"\u00fc\0", 2)},
        {kUtf8, umlaut, -1, 1, 1, L"\u00fc"},
        {kUtf8, "\xc3\xbc", 2, 10, 1, L"\u00fc"},
        {kUtf8,
         "\xc3\xbc"
         "bc",
         3, 10, 2,
         L"\u00fc"
         L"b"},
        {kUtf8, "a\xc3", 2, 10, -1, L"a"},
        {kUtf8, "ab\xff", 3, 10, -1, L"ab"},
        {kUtf8, "ab\xff", 3, 2, 2, L"ab"},
        {kC, abc, -1, -1, -1, L""},
    };
    for (const ToWideCase& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.locale << " length " << c.length << " size " << c.size << " row " << &c - cases);
        use_locale(c.locale);
        const auto source = exact(c.source);
        WCHAR to[16];
        std::fill_n(to, 16, L'#');
        EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, source.data(), c.length, to, c.size), c.result);
        EXPECT_EQ(std::wstring(to, 16), c.written + std::wstring(16 - c.written.size(), L'#'));
    }
}

} // namespace
