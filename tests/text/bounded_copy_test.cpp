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
    std::string written; // into a destination of eight filled with #; a dot is a zero
};

template <typename Char>
void check(const CopyCase& c,
           errno_t (*copy)(Char* destination, size_t size, const Char* source, size_t count)) {
    const std::string text = c.source != nullptr ? c.source : "";
    const std::basic_string<Char> source(text.begin(), text.end());
    std::basic_string<Char> destination(8, Char{'#'});
    EXPECT_EQ(copy(destination.data(), c.size, c.source != nullptr ? source.c_str() : nullptr, c.count),
              c.result);
    std::string written;
    for (Char unit : destination)
        written += unit == 0 ? '.' : static_cast<char>(unit);
    EXPECT_EQ(written, c.written);
}

TEST(BoundedCopy, FollowsItsRulesInBothWidths) {
    const CopyCase cases[] = {
        {4, "abc", 3, 0, "abc.####"},
        {6, "abc", 9, 0, "abc...##"},
        {4, "abcdef", 3, 0, "abcdef.#"}, // the count limits only the check
        {4, "abcdef", 4, EINVAL, "....####"},
        {4, "abcd", 9, EINVAL, "....####"},
        {0, "", 0, EINVAL, "########"},
        {4, nullptr, 3, 0, "....####"},
        {4, "abcdef", _TRUNCATE, 0, "abcd####"}, // and no terminator
        {6, "abc", _TRUNCATE, 0, "abc...##"},
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
}

} // namespace
