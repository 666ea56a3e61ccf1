#include "tests/child_process.h"

#include <gtest/gtest.h>

namespace {

struct CommandLineCase {
    std::vector<std::string> arguments;
    const char* expected; // of the application's print-out, in front of the executable's path
};

const CommandLineCase kCommandLines[] = {
    {{}, "narrow []\nwide []\nsame 1\ncount 1\npath 1 1\n"},
    {{"a", "b c"}, "narrow [a b c]\nwide [a b c]\nsame 1\ncount 3\npath 1 1\n"},
    {{"", "", "x"}, "narrow [  x]\nwide [  x]\nsame 1\ncount 4\npath 1 1\n"},
    // The wide line ends where the locale, which nobody has set, cannot go on; the narrow one is whole.
    {{"caf\xc3\xa9 d"}, "narrow [caf\xc3\xa9 d]\nwide [caf]\nsame 1\ncount 2\npath 1 1\n"},
};

} // namespace

TEST(Entry, HandsOutTheCommandLine) {
    for (const CommandLineCase& test : kCommandLines) {
        ChildResult child = run_child(START_APP, test.arguments);
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.out.substr(0, child.out.find("executable")), test.expected);
        EXPECT_NE(child.out.find("executable [" START_APP "]\n"), std::string::npos) << child.out;
    }
    EXPECT_NE(run_child(START_APP, {"a", "b c"}).out.find("element [b c]\n"), std::string::npos);
}

TEST(Entry, EndsWithTheResultOfWinMain) {
    for (int status : {0, 1, 42, 255})
        EXPECT_EQ(run_child(START_APP, {"status", std::to_string(status)}).status, status);
}

TEST(Entry, SaysThatWinMainIsMissing) {
    ChildResult child = run_child(NO_WINMAIN, {});
    EXPECT_EQ(child.status, 1);
    EXPECT_NE(child.err.find("WinMain"), std::string::npos);
}
