#include "text/convert.h"

#include <cerrno>
#include <clocale>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// Each test runs in a process of its own, so the locale stays where a case puts it.
void use_locale(const char* name) {
    ASSERT_NE(setlocale(LC_ALL, name), nullptr) << name;
}

constexpr const char* kC = "C";
constexpr const char* kUtf8 = "C.UTF-8";

TEST(Conversion, KeepsTheWholeTextWhateverItsLength) {
    use_locale(kUtf8);
    for (size_t length : {0u, 85u, 86u, 256u, 257u, 20000u}) {
        const std::wstring wide(length, L'\u20ac');
        std::string narrow = "left over";
        std::wstring back = L"left over";
        ASSERT_TRUE(kalto::to_narrow(wide.c_str(), narrow) && kalto::to_wide(narrow.c_str(), back));
        EXPECT_EQ(narrow.size(), 3 * length);
        EXPECT_EQ(back, wide);
        std::vector<WCHAR> exported(length + 1, L'#');
        EXPECT_EQ(mymbstowcs(exported.data(), narrow.c_str()), wide);
    }
}

// The narrow form, or what stands in place of it after a failure.
std::string narrow_form(const std::wstring& wide, bool (*convert)(const wchar_t*, std::string&)) {
    std::string narrow = "left over";
    return convert(wide.c_str(), narrow) ? narrow : errno == EILSEQ ? "refused " + narrow : "failed";
}

TEST(Conversion, ReportsTextThatTheLocaleCannotExpress) {
    use_locale(kC);
    EXPECT_EQ(narrow_form(std::wstring(300, L'a') + L"\u20ac", kalto::to_narrow), "refused ");
    EXPECT_EQ(narrow_form(L"\\a\\\u00fc", kalto::to_path), "refused ");
    use_locale(kUtf8);
    EXPECT_EQ(narrow_form(L"\\a\\\u00fc/b\\", kalto::to_path), "/a/\xc3\xbc/b/");
    EXPECT_EQ(narrow_form(L"a\xD83D\xDE00", kalto::to_narrow), "a\xF0\x9F\x98\x80"); // two of 16 bits
    EXPECT_EQ(narrow_form(L"\xD83D", kalto::to_narrow), "refused ");
    for (const char* broken : {"ab\xff", "ab\xe2\x82", "\xed\xa0\x80"}) {
        std::wstring wide = L"left over";
        EXPECT_FALSE(kalto::to_wide(broken, wide)) << broken;
        EXPECT_EQ(wide, L"");
    }
}

TEST(Conversion, ExportedHelpersKeepTheirLimits) {
    use_locale(kUtf8);
    std::wstring wide = L"######";
    EXPECT_EQ(mymbstowcs(wide.data(), "a\xc3\xbc"), wide.data());
    EXPECT_EQ(wide, L"a\u00fc\0###"s);
    const auto narrowed = [](const wchar_t* source) {
        std::string narrow = "######";
        EXPECT_EQ(mywcstombs(narrow.data(), source), narrow.data());
        return narrow;
    };
    EXPECT_EQ(narrowed(L"abc"), "abc\0##"s);
    EXPECT_EQ(narrowed(L"\u00fc\u00fc\u00fc"), "\xc3\xbc\xc3\xbc##"); // four bytes for three characters
    EXPECT_EQ(narrowed(L"\u00fc\u00fc"), "\xc3\xbc####");             // the second would pass the limit
    use_locale(kC);
    EXPECT_EQ(narrowed(L"a\u00fc"), "a#####");
}

int convert(const WCHAR* source, int length, char* to, int size) {
    BOOL used = 7;
    const int result = WideCharToMultiByte(CP_UTF8, 0, source, length, to, size, "?", &used);
    EXPECT_EQ(used, FALSE);
    return result;
}

int convert(const char* source, int length, WCHAR* to, int size) {
    return MultiByteToWideChar(CP_ACP, 0, source, length, to, size);
}

template <typename From, typename To> struct CountedCase {
    const char* locale;
    std::basic_string<From> source; // what is described, with the terminator only where that is
    int length;
    int size;
    int result;
    std::basic_string<To> written;
};

// The sources stand in blocks that end with the last described unit, so that the address sanitizer sees a
// look beyond.
template <typename From, typename To, size_t count> void check(const CountedCase<From, To> (&cases)[count]) {
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.locale << " row " << &c - cases);
        use_locale(c.locale);
        const std::vector<From> source(c.source.begin(), c.source.end());
        std::basic_string<To> to(12, To{'#'});
        EXPECT_EQ(convert(source.data(), c.length, to.data(), c.size), c.result);
        EXPECT_EQ(to, c.written + std::basic_string<To>(12 - c.written.size(), To{'#'}));
    }
}

TEST(CountedConversion, ToMultiByteFollowsItsRules) {
    const CountedCase<wchar_t, char> cases[] = {
        // Size queries: the limit is the source length.
        {kC, L"abc\0"s, -1, 0, 4, ""},
        {kC, L"a\u00fc", 2, 0, -1, ""},
        {kUtf8, L"\u20ac\0"s, -1, 0, 2, ""},     // three bytes, limit two
        {kUtf8, L"\u00fc\u00fc", 2, 0, 2, ""},   // no terminator: always the limit
        {kUtf8, L"\u00fc\0xy\0"s, 5, 0, 2, ""},  // two bytes, and no zero at place two
        {kUtf8, L"\u00fc\0\0y\0"s, 5, 0, 3, ""}, // two bytes, and a zero at place two
        // Room for everything.
        {kC, L"ab\0cd"s, 5, 10, 3, "ab\0"s},
        {kUtf8, L"\u20ac\0"s, -1, 10, 0, ""}, // the limit of two bytes does not hold a euro sign
        {kUtf8, L"\u00fc\0xyz"s, 5, 10, 3, "\xc3\xbc\0"s},
        // Short destinations.
        {kC, L"abc\0"s, -1, 3, 3, "abc"},
        {kUtf8, L"a\u00fc\0"s, -1, 2, 2, "a"}, // a zero one place after the character left over
        {kUtf8, L"a\u00fc", 2, 2, 1, "a"},     // the same without a described zero
        // What cannot be expressed is -1, whatever stands before it. A negative size describes no buffer.
        {kC, L"ab\u00fc", 3, 10, -1, "ab"},
        {kC, L"abc\0"s, -1, -7, -7, ""},
    };
    check(cases);
}

TEST(CountedConversion, ToWideFollowsItsRules) {
    const CountedCase<char, wchar_t> cases[] = {
        {kC, "ab\0cd"s, 5, 0, 3, L""},
        {kUtf8, "\xc3\xbc\0"s, -1, 0, 1, L""}, // place one is the middle of the character
        {kUtf8, "\xc3", 1, 0, -1, L""},
        {kUtf8, "\xc3\xbc\0"s, -1, 10, 2, L"\u00fc\0"s},
        {kUtf8, "\xc3\xbc\0"s, -1, 1, 1, L"\u00fc"},
        {kUtf8, "ab\xff", 3, 10, -1, L"ab"},
        {kUtf8, "a\xc3", 2, 10, -1, L"a"}, // a character cut in two
        {kUtf8, "ab\xff", 3, 2, 2, L"ab"},
        {kC, "abc\0"s, -1, -1, -1, L""},
    };
    check(cases);
}

} // namespace
