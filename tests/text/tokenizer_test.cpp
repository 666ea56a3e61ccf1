#include "tests/text/tokenizer_model.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

TEST(Tokenizer, SplitsByItsFlags) {
    const struct {
        const char* input;
        const char* delimiters;
        bool return_delimiters;
        bool return_null_tokens;
        const char* tokens; // as nextToken gives them until hasMoreTokens is false
        int count;
    } cases[] = {
        {"a,,b", ",", false, false, "[a][b]", 2},      {"a,,b", ",", true, false, "[a,][b]", 2},
        {"a,,b", ",", false, true, "[a]<null>[b]", 3}, {"a,,b", ",", true, true, "[a,][,][b]", 3},
        {",;", ",;", true, true, "[,][;]", 2},         {",a,", ",", false, true, "<null>[a]", 2},
        {"a b", "", false, true, "[a b]", 1},          {"d\xe4g,", "\xe4,", true, false, "[d\xe4][g,]", 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tokens);
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
    static constexpr char kBytes[] = "\0\1\2\3\4\5\6\7ab,;/";
    std::mt19937 random(20);
    for (int round = 0; round < 4000; ++round) {
        std::string calls(60, static_cast<char>(round));
        std::generate(calls.begin() + 1, calls.end(), [&] { return kBytes[random() % 13]; });
        ASSERT_TRUE(tokenizer_agrees_with_model(calls)) << "round " << round << ": " << calls;
    }
}

TEST(Tokenizer, TwoThreadsTokenizeWithoutDisturbingEachOtherOrStrtok) {
    char own[] = "x y";
    strtok(own, " ");
    const auto count_all = [](const char* input, int tokens) {
        for (int i = 0; i < 2000; ++i) {
            qrd_StringTokenizer tokenizer(input, ",");
            int count = 0;
            while (tokenizer.hasMoreTokens())
                count += taken(tokenizer.nextToken()) != "<null>" ? 1 : 0;
            ASSERT_EQ(count, tokens);
        }
    };
    std::thread other(count_all, "a,b,c", 3);
    count_all("dddd,e,,f,g", 4);
    other.join();
    EXPECT_STREQ(strtok(nullptr, " "), "y");
}

} // namespace
