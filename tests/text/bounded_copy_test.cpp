#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

namespace {

// What a copy gives and leaves in a destination of eight filled with #; a dot is a zero.
template <typename Char, typename Copy>
std::string copied(Copy copy, size_t size, const char* text, size_t count) {
    const std::string given = text != nullptr ? text : "";
    const std::basic_string<Char> source(given.begin(), given.end());
    std::basic_string<Char> destination(8, Char{'#'});
    std::string out =
        std::to_string(copy(&destination[0], size, text != nullptr ? source.c_str() : nullptr, count)) + " ";
    for (Char unit : destination)
        out += unit == 0 ? '.' : static_cast<char>(unit);
    return out;
}

// The count limits only the check; and what is truncated has no terminator.
TEST(BoundedCopy, FollowsItsRulesInBothWidths) {
    const struct {
        size_t size;
        const char* source;
        size_t count;
        const char* expected;
    } cases[] = {{4, "abc", 3, "0 abc.####"},        {6, "abc", 9, "0 abc...##"},
                 {4, "abcdef", 3, "0 abcdef.#"},     {4, "abcdef", 4, "22 ....####"},
                 {4, "abcd", 9, "22 ....####"},      {0, "", 0, "22 ########"},
                 {4, nullptr, 3, "0 ....####"},      {4, "abcdef", _TRUNCATE, "0 abcd####"},
                 {0, "abc", _TRUNCATE, "0 ########"}};
    for (const auto& c : cases) {
        EXPECT_EQ(copied<char>(strncpy_s, c.size, c.source, c.count), c.expected);
        EXPECT_EQ(copied<WCHAR>(wcsncpy_s, c.size, c.source, c.count), c.expected);
    }
}

TEST(BoundedCopy, BlocksAreCopiedWhateverTheSizeSays) {
    char block[] = "abcdef";
    EXPECT_EQ(memmove_s(block + 1, 0, block, 3), 0);
    EXPECT_STREQ(block, "aabcef");
    EXPECT_EQ(memcpy_s(block, 1, "xyz", 3), 0);
    EXPECT_STREQ(block, "xyzcef");
}

} // namespace
