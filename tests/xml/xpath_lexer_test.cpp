// From the text of an expression to its records, or to its error.
#include "tests/xml/xpath_model.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* expression;
    const char* records; // as show() writes them; null: no matter
    int error;
};

// The engine's records and error for an expression, on a document in which nothing matches.
void check(const Case& c) {
    CVurlDOM document;
    document.CreateDOM("nothing");
    CVurlElement context(&document);
    CVurlElementList results(&document);
    const CVurlXpath engine(c.expression, &context, &results);
    EXPECT_EQ(engine.m_nError, c.error) << c.expression;
    if (c.records != nullptr) {
        EXPECT_EQ(show(engine.m_parseList), c.records) << c.expression;
    }
    EXPECT_EQ(results.m_nCount, 0U) << c.expression;
}

} // namespace

TEST(XPathLexer, MakesTheseRecords) {
    static const Case cases[] = {
        {"a", "3:25 a", 4},
        {"/a/b", "/3:25 a, 3:25 b", 4},
        {"a/b/", "3:25 a, 3:25 b", 4},
        {"//a", "/5:16, 3:25 a", 4},
        {"/a//b", "/3:25 a, 5:25, 3:25 b", 4},
        {"/*//b", "/3:1, 5:1, 3:25 b", 4},
        {"/..//b", "/9:38#0, 5:38, 3:25 b", 4},
        {"///a", "/5:16, 5:16, 3:25 a", 4},
        {"/a///b", "/3:25 a, 5:25, 5:16, 3:25 b", 4},
        {"/a//", "/3:25 a, 5:25", 4},
        {"//", "/5:16", 4},
        {"/", "", 4},
        // The first slash of the whole expression that stands where a step could begin: not a descendant
        // step.
        {"a//b", "3:25 a, /3:25 b", 4},
        {"a///b", "3:25 a, /5:16, 3:25 b", 4},
        {"a//b//c", "3:25 a, /3:25 b, 5:25, 3:25 c", 4},
        {"*", "3:1", 4},
        {"/a/*", "/3:25 a, 3:1", 4},
        {"//*", "/5:16, 3:1", 4},
        {"**", "3:1, 3:1", 4},
        {"@x", "2:6 @x", 4},
        {"//@x", "/5:16, 2:6 @x", 4},
        {"a/@x/b", "3:25 a, 2:6 @x, 3:25 b", 4},
        {"..", "9:38#0", 4},
        {"../a", "9:38#0, 3:25 a", 4},
        {"..a", "9:38#0, 3:25 a", 4},
        {"ancestor::a", "0:2, 3:25 a", 4},
        {"ancestor-or-self::*", "1:3, 3:1", 4},
        {"descendant::a/b", "4:14, 3:25 a, 3:25 b", 4},
        {"/descendant::a", "/4:14, 3:25 a", 4},
        {"following-sibling::a", "7:22, 3:25 a", 4},
        {"preceding-sibling::*", "11:40, 3:1", 4},
        {"ancestor::", "0:2", 4},
        {"ancestor", "3:25 ancestor", 4},
        {"child::a", "3:25 child::a", 4},
        {"a-b.c_d:e1", "3:25 a-b.c_d:e1", 4},
        {"/12", "/3:33#12", 4},
        {"99999999999999999999", "3:33#2147483647", 4},
        {"a[@x]", "3:25 a, 12:36 @x", 4},
        {"a[@x='1']", "3:25 a, 12:20 @x =1", 4},
        {"a[@x!=\"1\"]", "3:25 a, 12:32 @x =1", 4},
        {"a[b]", "3:25 a, 12:36 b", 4},
        {"a[b='t']/c", "3:25 a, 12:20 b =t, 3:25 c", 4},
        {"a[b!='t']//c", "3:25 a, 12:32 b =t, /3:25 c", 4},
        {"/a[b='t']//c", "/3:25 a, 12:20 b =t, 5:47, 3:25 c", 4},
        {"a[b][@c][d='e']", "3:25 a, 12:36 b, 12:36 @c, 12:20 d =e", 4},
        {"[b]", "12:36 b", 4},
        {"a/[b]c", "3:25 a, 12:36 b, 3:25 c", 4},
        {"a[@x='']", "3:25 a, 12:20 @x =", 4},
        {"a[@x='p]q']", "3:25 a, 12:20 @x =p]q", 4},
        {" a [ @id\t=\n'x y' ] ", "3:25 a, 12:20 @id =x y", 4},
        // Any quote ends a literal when white space is removed, not the one that began it.
        {"a[@x=\"it's so\"]", "3:25 a, 12:20 @x =it'sso", 4},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(XPathLexer, RefusesWithTheseErrors) {
    static const Case cases[] = {
        {"a$b", nullptr, 1},          {"$", nullptr, 1},
        {"a@b", nullptr, 1},          {"a*", nullptr, 1},
        {"a]", nullptr, 1},           {"a!", nullptr, 1},
        {"text()", nullptr, 1},       {"1a", nullptr, 1},
        {"@*", nullptr, 1},           {"@a$", nullptr, 1},
        {"a\xc3\xa4", nullptr, 1},    {"a[]", nullptr, 1},
        {"a[@]", nullptr, 1},         {"a[1x]", nullptr, 1},
        {"a[b$]", nullptr, 1},        {"", nullptr, 3},
        {" \t", nullptr, 3},          {"a[@id='x", nullptr, 3},
        {"a[@id='x]", nullptr, 3},    {"a[b", nullptr, 3},
        {"a/parent::b", nullptr, 3},  {"a/.", nullptr, 3},
        {"./a", nullptr, 3},          {"a=b", nullptr, 3},
        {"a!=b", nullptr, 3},         {"::a", nullptr, 3},
        {"'a'", nullptr, 3},          {"@", nullptr, 3},
        {"@1", nullptr, 3},           {"@x[b]", nullptr, 3},
        {"@x='1'", nullptr, 3},       {"a[*]", nullptr, 3},
        {"a['x']", nullptr, 3},       {"a[='x']", nullptr, 3},
        {"a[@1]", nullptr, 3},        {"a[@x=1]", nullptr, 3},
        {"a[@x=]", nullptr, 3},       {"a[b='1'c]", nullptr, 3},
        {"a[b(c)]", nullptr, 3},      {"a[@x='p/q']", nullptr, 3}, // fields end at slashes, in literals too
        {"a[b/c]", nullptr, 3},       {"a[2]", "3:25 a, 12:33#2", 5},
        {"a[2]/$", nullptr, 5},       {"a/following::b", nullptr, 5},
        {"preceding::b", nullptr, 5},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(XPathLexer, TakesItsPartsOneByOne) {
    CVurlDOM document;
    CVurlElement context(&document);
    CVurlElementList results(&document);
    CVurlXpath engine("a", &context, &results);
    char text[] = "@x='1']rest";
    char* rest = text;
    XPathAction* pending = nullptr;
    EXPECT_EQ(engine.tokenizePredicate(&pending, &rest), 10);
    EXPECT_STREQ(rest, "rest");
    EXPECT_EQ(show(engine.m_parseList), "3:25 a, 12:20 @x =1");
    EXPECT_EQ(pending, nullptr);

    char word[] = "'b c'd";
    const std::unique_ptr<char[]> literal(engine.tokenizeNameNumber(word));
    EXPECT_STREQ(literal.get(), "b c");
    EXPECT_EQ(engine.m_nTokenKind, 47);
    char axis[] = "descendant::a";
    char* start = axis;
    EXPECT_EQ(engine.checkReservedWords(&start), 14);
    EXPECT_EQ(start, axis);
    start = nullptr;
    EXPECT_EQ(engine.checkReservedWords(&start), 52);
}

TEST(XPathLexer, ListCopiesMoveOnTheirOwn) {
    CVurlXPParseList list;
    EXPECT_EQ(list.PeekCurrent(), nullptr);
    EXPECT_EQ(list.Next(), 0);
    int values[3];
    for (int& value : values)
        EXPECT_EQ(list.Push(&value), 1);
    CVurlXPParseList copy = list;
    EXPECT_EQ(copy.Next(), 1);
    EXPECT_EQ(copy.Next(), 1);
    EXPECT_EQ(copy.Next(), 0);
    EXPECT_EQ(copy.PeekCurrent(), &values[2]);
    EXPECT_EQ(copy.Prev(), 1);
    EXPECT_EQ(list.PeekCurrent(), &values[0]);
    EXPECT_EQ(list.PeekTail(), &values[2]);
    for (int& value : values) {
        EXPECT_EQ(list.PeekCurrent(), &value);
        EXPECT_EQ(list.Pop(), &value);
    }
    EXPECT_EQ(list.Pop(), nullptr);
    EXPECT_EQ(list.PeekCurrent(), nullptr);
}
