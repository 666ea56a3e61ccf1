#include "tests/child_process.h"

#include <gtest/gtest.h>

TEST(Entry, HandsOutTheCommandLine) {
    const struct {
        std::vector<std::string> arguments;
        const char* expected; // of the application's print-out, behind the executable's path
    } cases[] = {
        {{"a", "b c"}, "narrow [a b c]\nwide [a b c]\ncount 3\nlast [b c]\n"},
        {{"", "", "xyz"}, "narrow [  xyz]\nwide [  xyz]\ncount 4\nlast [xyz]\n"},
        // The wide line ends where the locale, which nobody has set, cannot go on; the narrow one is whole.
        {{"caf\xc3\xa9 d"}, "narrow [caf\xc3\xa9 d]\nwide [caf]\ncount 2\nlast [caf]\n"},
    };
    for (const auto& test : cases) {
        ChildResult child = run_child(START_APP, test.arguments);
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.out, std::string("path 1 1\nexecutable [" START_APP "]\nsame 1\n") + test.expected);
    }
}

TEST(Entry, EndsWithTheResultOfWinMainWhichMustBeThere) {
    for (int status : {0, 42, 255})
        EXPECT_EQ(run_child(START_APP, {"status", std::to_string(status)}).status, status);
    ChildResult child = run_child(NO_WINMAIN, {});
    EXPECT_EQ(child.status, 1);
    EXPECT_NE(child.err.find("WinMain"), std::string::npos);
}
