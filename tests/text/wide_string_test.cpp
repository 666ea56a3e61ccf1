#include <clocale>
#include <gtest/gtest.h>
#include <kalto/text.h>

namespace {

TEST(WideString, ReversesAndLowersInPlace) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    WCHAR text[] = L"ab\u00dcD";
    WCHAR none[] = L"";
    EXPECT_STREQ(wcsrev(text), L"D\u00dcba");
    EXPECT_STREQ(wcsrev(none), L"");
    EXPECT_EQ(wcslwr(text), text);
    EXPECT_STREQ(text, L"d\u00fcba");
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
    // A token that ends the text leaves it at the terminator.
    EXPECT_EQ(mywcstok(nullptr, L"x"), nullptr);
}

} // namespace
