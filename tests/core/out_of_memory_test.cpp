// The linker redirects the library's calls of calloc to this file, which fails the one that a test asks for.
#include "core/command_line.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalto/core.h>

static int calls_until_failure = 0; // 0: never

extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
    bool fails = calls_until_failure > 0 && --calls_until_failure == 0;
    return fails ? nullptr : __real_calloc(count, size);
}

static bool record_with_fault(int call) {
    static char words[][8] = {"program", "a", "b"};
    static char* argv[] = {words[0], words[1], words[2], nullptr};
    calls_until_failure = call;
    return kalto::record_command_line(3, argv);
}

TEST(OutOfMemory, MainGivesUpBeforeTheApplicationStarts) {
    for (int call = 1; call <= 3; call++) { // narrow line, vector, executable path
        errno = 0;
        EXPECT_FALSE(record_with_fault(call)) << call;
        kalto::release_narrow_command_line();
    }
    EXPECT_EQ(errno, ENOMEM);
}

TEST(OutOfMemory, TheCommandLineCallsTryAgainAndAnArgumentIsMissingAlone) {
    EXPECT_STREQ(GetCommandLineW(), L"") << "nothing is kept before main has run";
    int count = 7;
    calls_until_failure = 1;
    EXPECT_EQ(CommandLineToArgvW(nullptr, &count), nullptr);
    EXPECT_EQ(count, 7);
    EXPECT_NE(CommandLineToArgvW(nullptr, &count), nullptr);
    EXPECT_EQ(count, 1);

    EXPECT_TRUE(record_with_fault(3)); // the path is there, so that the third block is the first argument's
    LPWSTR* vector = CommandLineToArgvW(L"x", &count);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(vector[1], nullptr);
    EXPECT_EQ(vector[2][0], L'b');
    EXPECT_STREQ(GetCommandLineA(), "a b");
    calls_until_failure = 1;
    EXPECT_EQ(GetCommandLineW(), nullptr);
    EXPECT_STREQ(GetCommandLineW(), L"a b");
}

TEST(OutOfMemory, RaisingAnExceptionEndsTheProcess) {
    calls_until_failure = 1;
    EXPECT_EXIT(RaiseException(1, 0, 0, nullptr), testing::ExitedWithCode(1), "");
}
