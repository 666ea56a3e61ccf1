#include "tests/text/tokenizer_model.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>

namespace {

struct SplitCase {
    const char* input;
    const char* delimiters;
    bool return_delimiters;
    bool return_null_tokens;
    const char* tokens; // as nextToken gives them until hasMoreTokens is false
    int count;
};

TEST(Tokenizer, SplitsByItsFlags) {
    const SplitCase cases[] = {
        {"a,,b", ",", false, false, "[a][b]", 2},      {"a,,b", ",", true, false, "[a,][b]", 2},
        {"a,,b", ",", false, true, "[a]<null>[b]", 3}, {"a,,b", ",", true, true, "[a,][,][b]", 3},
        {",;", ",;", true, true, "[,][;]", 2},         {",a,", ",", false, true, "<null>[a]", 2},
        {"a b", "", false, true, "[a b]", 1},          {"\xe4,\xff", "\xff,", true, false, "[\xe4,]", 1},
    };
    for (const SplitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.input << " row " << &c - cases);
        qrd_StringTokenizer tokenizer(c.input, c.delimiters, c.return_delimiters);
        tokenizer.returnNullTokens(c.return_null_tokens);
        std::string tokens;
        while (tokenizer.hasMoreElements())
            tokens += taken(tokenizer.nextElement());
        EXPECT_EQ(tokens, c.tokens);
        EXPECT_EQ(taken(tokenizer.nextToken()), "<null>");
        EXPECT_EQ(tokenizer.countTokens(), c.count);
    }
}

TEST(Tokenizer, SplitsAtWhiteSpaceUnlessTold) {
    qrd_StringTokenizer tokenizer(" a\tb\r\nc\vd ");
    EXPECT_EQ(tokenizer.countTokens(), 3);
    EXPECT_EQ(taken(tokenizer.getTokenAt(3)), "[c\vd]");
}

TEST(Tokenizer, AgreesWithAModelOnRandomCalls) {
    std::mt19937 random(20);
    const auto text = [&](size_t longest) {
        std::string result(random() % (longest + 1), ' ');
        for (char& c : result)
            c = "ab,;/"[random() % 5];
        return result + '\0';
    };
    for (int round = 0; round < 1500; ++round) {
        std::string calls = (round % 2 == 0 ? "0" : "1") + text(3) + text(24);
        for (int call = 0; call < 20; ++call) {
            calls += static_cast<char>(random() % 8);
            if (calls.back() == 1)
                calls += text(3);
        }
        ASSERT_TRUE(tokenizer_agrees_with_model(calls)) << "round " << round << ": " << calls;
    }
}

TEST(Tokenizer, TwoThreadsTokenizeWithoutDisturbingEachOtherOrStrtok) {
    char own[] = "x y";
    strtok(own, " ");
    const auto count_all = [](const char* input, int* total) {
        for (int i = 0; i < 2000; ++i) {
            qrd_StringTokenizer tokenizer(input, ",");
            while (tokenizer.hasMoreTokens())
                *total += taken(tokenizer.nextToken()) != "<null>" ? 1 : 0;
        }
    };
    int totals[] = {0, 0};
    std::thread one(count_all, "a,b,c", &totals[0]);
    std::thread two(count_all, "dddd,e,,f,g", &totals[1]);
    one.join();
    two.join();
    EXPECT_EQ(totals[0], 3 * 2000);
    EXPECT_EQ(totals[1], 4 * 2000);
    EXPECT_STREQ(strtok(nullptr, " "), "y");
}

} // namespace
