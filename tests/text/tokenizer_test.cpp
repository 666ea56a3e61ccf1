#include <cstring>
#include <gtest/gtest.h>
#include <kalto/tokenizer.h>
#include <memory>
#include <string>
#include <thread>

namespace {

// A token in brackets, so that none and an empty one differ. Takes the token over.
std::string taken(char* token) {
    const std::unique_ptr<char[]> owner(token);
    return token == nullptr ? "<null>" : std::string("[") + token + "]";
}

// What a tokenizer answers to calls: n for the next token, m for more, c for the count, a digit for the token
// of that number, + for the next token by two delimiters, anything else for the next token by that delimiter.
std::string answers(qrd_StringTokenizer& tokenizer, const std::string& calls) {
    std::string result;
    for (const char call : calls)
        result += call == 'n'     ? taken(tokenizer.nextElement())
                  : call == 'm'   ? (tokenizer.hasMoreElements() ? "+" : "-")
                  : call == 'c'   ? std::to_string(tokenizer.countTokens())
                  : call == '+'   ? taken(tokenizer.nextToken(",;"))
                  : isdigit(call) ? taken(tokenizer.getTokenAt(call - '0'))
                                  : taken(tokenizer.nextToken(std::string(1, call).c_str()));
    return result;
}

TEST(Tokenizer, AnswersByItsFlags) {
    const struct {
        const char* input;
        const char* delimiters;
        bool return_delimiters;
        bool return_null_tokens;
        const char* calls;
        const char* answers;
    } cases[] = {
        {"a,,b", ",", false, false, "mnmnmnc", "+[a]+[b]-<null>2"},
        {"a,,b", ",", true, false, "nnmc", "[a,][b]-2"},
        {"a,,b", ",", false, true, "nnnmnc", "[a]<null>[b]-<null>3"},
        {",;", ",;", true, true, "nnmc", "[,][;]-2"},
        {",a,", ",", false, true, "nnmnc", "<null>[a]-<null>2"},
        {"a b", "", false, true, "nmc", "[a b]-1"},
        {"d\xe4g,", "\xe4,", true, false, "nnm", "[d\xe4][g,]-"},
        {"a,b,,c", ",", false, false, "c01234nnc", "3<null>[a][b][c]<null>[a][b]3"},
        {",,a,,b", ",", false, true, "1234567",
         "<null><null>[a][a][b]<null><null>"}, // the last one before it
        {"a;b,c;d", ",", false, false, ";,;n", "[a][b][c][d]"},
        {"a,b;c", ",", false, false, "n1nc;mc", "[a][a][b;c]2<null>-2"},
        {"a;,b", ",", false, true, "1+nn", "[a;][a]<null><null>"}, // no delimiter where a token was ended
        {"a,b,,c", ",", false, true, "2nnnmnn", "[b][a][b]<null>+[c]<null>"},
    };
    for (const auto& c : cases) {
        qrd_StringTokenizer tokenizer(c.input, c.delimiters, c.return_delimiters);
        tokenizer.returnNullTokens(c.return_null_tokens);
        EXPECT_EQ(answers(tokenizer, c.calls), c.answers) << c.input << ' ' << c.calls;
    }
    qrd_StringTokenizer by_white_space(" a\tb\r\nc\vd ");
    EXPECT_EQ(answers(by_white_space, "c3"), "3[c\vd]");
}

TEST(Tokenizer, TwoThreadsTokenizeWithoutDisturbingEachOtherOrStrtok) {
    char own[] = "x y";
    strtok(own, " ");
    const auto split = [](const char* input, const char* tokens) {
        for (int i = 0; i < 2000; ++i) {
            qrd_StringTokenizer tokenizer(input, ",");
            ASSERT_EQ(answers(tokenizer, "nnnn"), tokens);
        }
    };
    std::thread other(split, "a,b,c", "[a][b][c]<null>");
    split("dddd,e,,f,g", "[dddd][e][f][g]");
    other.join();
    EXPECT_STREQ(strtok(nullptr, " "), "y");
}

} // namespace
