#include <clocale>
#include <gtest/gtest.h>
#include <kalto/text.h>

namespace {

TEST(WideString, ReversesAndLowersInPlace) {
    WCHAR odd[] = L"abC";
    WCHAR even[] = L"abCD";
    WCHAR none[] = L"";
    EXPECT_EQ(wcsrev(odd), odd);
    EXPECT_STREQ(odd, L"Cba");
    EXPECT_STREQ(wcsrev(even), L"DCba");
    EXPECT_STREQ(wcsrev(none), L"");
    EXPECT_EQ(wcslwr(even), even);
    EXPECT_STREQ(even, L"dcba");
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    WCHAR umlaut[] = L"\u00dcB1";
    EXPECT_STREQ(wcslwr(umlaut), L"\u00fcb1");
}

TEST(WideString, TokensGoOnFromTheOneSavedPosition) {
    EXPECT_EQ(mywcstok(nullptr, L","), nullptr);
    WCHAR text[] = L",,a,b;c,,d";
    EXPECT_STREQ(mywcstok(text, L","), L"a");
    EXPECT_STREQ(mywcstok(nullptr, L";"), L"b");
    EXPECT_STREQ(mywcstok(nullptr, L","), L"c");
    // A text without tokens leaves the position where it was.
    WCHAR delimiters[] = L",,";
    EXPECT_EQ(mywcstok(delimiters, L","), nullptr);
    EXPECT_STREQ(mywcstok(nullptr, L","), L"d");
    EXPECT_EQ(mywcstok(nullptr, L","), nullptr);
    EXPECT_EQ(mywcstok(nullptr, L"x"), nullptr);
    // A token that ends at a delimiter is left behind it, even at the end of the text.
    WCHAR last[] = L"a,";
    EXPECT_STREQ(mywcstok(last, L","), L"a");
    last[2] = L'\0';
    EXPECT_EQ(mywcstok(nullptr, L","), nullptr);
}

} // namespace
