#include "tests/text/tokenizer_model.h"

#include <cstring>
#include <gtest/gtest.h>
#include <kalto/tokenizer.h>
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
        {"", ",", false, false, "", 0},
        {"", ",", true, true, "", 0},
        {"a,,b", ",", false, false, "[a][b]", 2},
        {"a,,b", ",", true, false, "[a,][b]", 2},
        {"a,,b", ",", false, true, "[a]<null>[b]", 3},
        {"a,,b", ",", true, true, "[a,][,][b]", 3},
        {",,", ",", false, false, "", 0},
        {",,", ",", false, true, "<null><null>", 2},
        {",;", ",;", true, true, "[,][;]", 2},
        {",a,", ",", false, true, "<null>[a]", 2},
        {"a,", ",", true, false, "[a,]", 1},
        {"a;b,c", ",;", true, false, "[a;][b,][c]", 3},
        {"one", ",", true, true, "[one]", 1},
        {"a b", "", false, true, "[a b]", 1},
        {"\xe4,\xff", "\xff,", true, false, "[\xe4,]", 1},
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

TEST(Tokenizer, IndexesWithoutMoving) {
    qrd_StringTokenizer tokenizer(",a,,b", ",");
    EXPECT_EQ(taken(tokenizer.nextToken()), "[a]");
    const std::pair<int, const char*> plain[] = {
        {-1, "<null>"}, {0, "<null>"}, {1, "[a]"}, {2, "[b]"}, {3, "<null>"}};
    for (const auto& [index, token] : plain)
        EXPECT_EQ(taken(tokenizer.getTokenAt(index)), token) << index;
    EXPECT_EQ(taken(tokenizer.nextToken()), "[b]");

    qrd_StringTokenizer fields(",a,,b", ",");
    fields.returnNullTokens(true);
    const std::pair<int, const char*> with_null[] = {{0, "<null>"}, {1, "<null>"}, {2, "[a]"},
                                                     {3, "[a]"},    {4, "[b]"},    {5, "<null>"}};
    for (const auto& [index, token] : with_null)
        EXPECT_EQ(taken(fields.getTokenAt(index)), token) << index;
}

TEST(Tokenizer, KeepsEarlierEndsAfterAChangeOfDelimiters) {
    qrd_StringTokenizer tokenizer("a;b,c;d", ",");
    EXPECT_TRUE(tokenizer.hasMoreTokens()); // ends "a;b"
    EXPECT_EQ(taken(tokenizer.nextToken(";")), "[a]");
    EXPECT_EQ(taken(tokenizer.nextToken()), "[b]"); // not "b,c"
    EXPECT_EQ(tokenizer.countTokens(), 3);          // a, b,c and d: the earlier ends are gone
    EXPECT_EQ(taken(tokenizer.nextToken()), "[c]");
    EXPECT_EQ(taken(tokenizer.nextToken("x")), "[d]");
}

std::string random_text(std::mt19937& random, size_t longest) {
    std::string text(random() % (longest + 1), ' ');
    for (char& c : text)
        c = "ab,;/"[random() % 5];
    return text;
}

TEST(Tokenizer, AgreesWithAModelOnRandomCalls) {
    std::mt19937 random(20);
    for (int round = 0; round < 3000; ++round) {
        const std::string input = random_text(random, 24);
        const std::string delimiters = random_text(random, 3);
        const bool return_delimiters = random() % 2 == 0;
        qrd_StringTokenizer tokenizer(input.c_str(), delimiters.c_str(), return_delimiters);
        TokenizerModel model(input, delimiters, return_delimiters);
        SCOPED_TRACE(testing::Message() << "round " << round << " input " << input << " at " << delimiters);
        for (int call = 0; call < 20; ++call) {
            switch (random() % 7) {
            case 0:
                ASSERT_EQ(tokenizer.hasMoreTokens(), model.has_more());
                break;
            case 1: {
                const std::string changed = random_text(random, 3);
                model.set_delimiters(changed);
                ASSERT_EQ(taken(tokenizer.nextToken(changed.c_str())), model.next());
                break;
            }
            case 2: {
                const bool on = random() % 2 == 0;
                tokenizer.returnNullTokens(on);
                model.return_null_tokens(on);
                break;
            }
            case 3:
                ASSERT_EQ(tokenizer.countTokens(), model.count());
                break;
            case 4: {
                const int index = static_cast<int>(random() % 9) - 1;
                ASSERT_EQ(taken(tokenizer.getTokenAt(index)), model.at(index)) << index;
                break;
            }
            default:
                ASSERT_EQ(taken(tokenizer.nextToken()), model.next());
            }
        }
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
    int first = 0;
    int second = 0;
    std::thread one(count_all, "a,b,c", &first);
    std::thread two(count_all, "dddd,e,,f,g", &second);
    one.join();
    two.join();
    EXPECT_EQ(first, 3 * 2000);
    EXPECT_EQ(second, 4 * 2000);
    EXPECT_STREQ(strtok(nullptr, " "), "y");
}

} // namespace
