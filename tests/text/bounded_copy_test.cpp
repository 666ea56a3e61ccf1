#include <cerrno>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

namespace {

struct CopyCase {
    size_t size;
    const char* source; // null: none
    size_t count;
    int result;
    std::string written; // of a destination of eight filled with #
};

template <typename Char> std::basic_string<Char> widened(const std::string& text) {
    return {text.begin(), text.end()};
}

template <typename Char>
void check(const CopyCase& c,
           errno_t (*copy)(Char* destination, size_t size, const Char* source, size_t count)) {
    const std::basic_string<Char> source =
        c.source != nullptr ? widened<Char>(c.source) : std::basic_string<Char>();
    Char destination[8];
    std::fill_n(destination, 8, Char{'#'});
    EXPECT_EQ(copy(destination, c.size, c.source != nullptr ? source.c_str() : nullptr, c.count), c.result);
    EXPECT_EQ(std::basic_string<Char>(destination, 8), widened<Char>(c.written));
}

TEST(BoundedCopy, FollowsItsRulesInBothWidths) {
    const CopyCase cases[] = {
        {4, "abc", 3, 0, std::string("abc\0####", 8)},
        {6, "abc", 9, 0, std::string("abc\0\0\0##", 8)},
        {4, "abcdef", 2, 0, std::string("abcdef\0#", 8)}, // the count limits only the check
        {4, "abcdef", 3, 0, std::string("abcdef\0#", 8)},
        {4, "abcdef", 4, EINVAL, std::string("\0\0\0\0####", 8)},
        {4, "abcdef", 5, EINVAL, std::string("\0\0\0\0####", 8)},
        {4, "abcd", 9, EINVAL, std::string("\0\0\0\0####", 8)},
        {4, "abcdef", 0, 0, std::string("abcdef\0#", 8)},
        {0, "", 0, EINVAL, "########"},
        {4, nullptr, 3, 0, std::string("\0\0\0\0####", 8)},
        {4, nullptr, _TRUNCATE, 0, std::string("\0\0\0\0####", 8)},
        {4, "abcdef", _TRUNCATE, 0, "abcd####"}, // and no terminator
        {4, "abcd", _TRUNCATE, 0, "abcd####"},
        {4, "abc", _TRUNCATE, 0, std::string("abc\0####", 8)},
        {6, "abc", _TRUNCATE, 0, std::string("abc\0\0\0##", 8)},
        {0, "abc", _TRUNCATE, 0, "########"},
    };
    for (const CopyCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &c - cases);
        check<char>(c, strncpy_s);
        check<WCHAR>(c, wcsncpy_s);
    }
}

TEST(BoundedCopy, BlocksAreCopiedWhateverTheSizeSays) {
    char block[] = "abcdef";
    EXPECT_EQ(memmove_s(block + 1, 0, block, 3), 0);
    EXPECT_STREQ(block, "aabcef");
    EXPECT_EQ(memcpy_s(block, 1, "xyz", 3), 0);
    EXPECT_STREQ(block, "xyzcef");
    EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), 0);
}

} // namespace
