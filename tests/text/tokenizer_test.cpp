#include <cstring>
#include <gtest/gtest.h>
#include <kalto/tokenizer.h>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string taken(char* token) {
    const std::unique_ptr<char[]> owner(token);
    return token == nullptr ? "<null>" : std::string("[") + token + "]";
}

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

// What the tokenizer must do, on top of the C library's own scanner.
class Model {
  public:
    Model(std::string input, std::string delimiters, bool return_delimiters)
        : m_pristine(std::move(input)), m_delimiters(std::move(delimiters)),
          m_return_delimiters(return_delimiters) {
        restore();
    }

    void return_null_tokens(bool on) { m_null_tokens = on; }
    void set_delimiters(const std::string& delimiters) { m_delimiters = delimiters; }

    bool has_more() {
        return m_position < m_pristine.size() && (m_null_tokens || scan(m_position) != nullptr);
    }

    std::string next() {
        if (!has_more())
            return "<null>";
        if (m_null_tokens && at_delimiter(m_position)) {
            const std::string alone = "[" + m_pristine.substr(m_position++, 1) + "]";
            return m_return_delimiters ? alone : "<null>";
        }
        const char* token = scan(m_position);
        if (token == nullptr)
            return "<null>";
        m_position = after(token);
        std::string result = std::string("[") + token;
        if (m_return_delimiters && m_position <= m_pristine.size())
            result += m_pristine[m_position - 1];
        return result + "]";
    }

    int count() {
        restore();
        std::string last;
        return walk(1 << 30, last);
    }

    std::string at(int index) {
        std::string last = "<null>";
        return walk(index, last) < index ? "<null>" : last;
    }

  private:
    void restore() { m_working.assign(m_pristine.c_str(), m_pristine.c_str() + m_pristine.size() + 1); }

    char* scan(size_t from) {
        char* rest = nullptr;
        return strtok_r(m_working.data() + from, m_delimiters.c_str(), &rest);
    }

    size_t after(const char* token) const {
        return static_cast<size_t>(token - m_working.data()) + strlen(token) + 1;
    }

    bool at_delimiter(size_t place) const {
        return m_working[place] != '\0' && m_delimiters.find(m_working[place]) != std::string::npos;
    }

    int walk(int most, std::string& last) {
        int tokens = 0;
        for (size_t place = 0; tokens < most && place < m_pristine.size(); ++tokens) {
            if (m_null_tokens && at_delimiter(place)) {
                ++place;
                continue;
            }
            const char* token = scan(place);
            if (token == nullptr)
                break;
            last = std::string("[") + token + "]";
            place = after(token);
        }
        return tokens;
    }

    std::vector<char> m_working;
    std::string m_pristine;
    std::string m_delimiters;
    size_t m_position = 0;
    bool m_return_delimiters;
    bool m_null_tokens = false;
};

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
        Model model(input, delimiters, return_delimiters);
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
