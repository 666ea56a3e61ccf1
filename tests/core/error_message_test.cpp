#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <thread>

static std::string build(size_t size, BOOL use_errno, int number, const char* format, ...) {
    char text[300];
    memset(text, '#', sizeof text);
    va_list args;
    va_start(args, format);
    BuildSysErrMsg(text, size, use_errno, number, format, args);
    va_end(args);
    EXPECT_EQ(text[size], '#');
    return text;
}

TEST(ErrorMessage, IsOneLineThatNamesTheErrorWhereAsked) {
    EXPECT_STREQ(ename[0], "");
    for (int number = 1; number < 132; number++) {
        const char* expected = strerrorname_np(number);
        std::string name = ename[number];
        EXPECT_EQ(name.substr(0, name.find('/')), expected != nullptr ? expected : "") << number;
    }
    EXPECT_EQ(std::string(ename[11]) + ename[35] + ename[95],
              "EAGAIN/EWOULDBLOCKEDEADLK/EDEADLOCKEOPNOTSUPP/ENOTSUP");
    EXPECT_EQ(build(200, TRUE, 2, "open %s", "x"), " [ENOENT No such file or directory] open x\n");
    EXPECT_EQ(build(200, FALSE, 2, "open %d", 7), ": open 7\n");
    for (int number : {0, 132, -1})
        EXPECT_EQ(build(200, TRUE, number, "m").find(" [?UNKNOWN? "), 0u) << number;
    // The text is cut at 99 bytes, the line at the buffer.
    EXPECT_EQ(build(200, FALSE, 0, "%s", std::string(150, 'a').c_str()), ": " + std::string(99, 'a') + "\n");
    EXPECT_EQ(build(5, FALSE, 0, "abcdef"), ": ab");
    EXPECT_EQ(build(1, TRUE, 2, "abcdef"), "");
}

TEST(ErrorMessage, CallsThatDropTheTextKeepTheirResults) {
    errno = ERANGE;
    EXPECT_EQ(Kalto_ErrMsgSys("%s", std::string(500, 'x').c_str()), ERANGE);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(Kalto_ErrMsg("%d", 5), 0);
}

TEST(LastError, IsWhatItsThreadSetLast) {
    SetLastError(13);
    std::thread([] {
        EXPECT_EQ(GetLastError(), DWORD{0});
        SetLastError(2);
    }).join();
    EXPECT_EQ(GetLastError(), DWORD{13});
}
