// From the text of an expression to its records, or to its error.
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <memory>
#include <string>

namespace {

// Each record as [/]axis:kind[#index][ name][ @attribute][ =value].
std::string show(const CVurlXPParseList& list) {
    std::string text;
    const auto part = [&text](const char* sign, const char* s) { text += s ? std::string(sign) + s : ""; };
    for (const CVurlXPNode* cell = list.head; cell; cell = cell->next) {
        const XPathAction& record = *static_cast<const XPathAction*>(cell->data);
        text += text.empty() ? "" : ", ";
        text += (record.absolute ? "/" : "") + std::to_string(record.axis) + ":" +
                std::to_string(record.tokenKind);
        text += record.index != -1 ? "#" + std::to_string(record.index) : "";
        part(" ", record.name);
        part(" @", record.attributeName);
        part(" =", record.value);
    }
    return text;
}

// The engine's records for an expression, on a document in which nothing matches, and its error.
std::string records_and_error(const char* expression, int error) {
    CVurlDOM document;
    document.CreateDOM("nothing");
    CVurlElement context(&document);
    CVurlElementList results(&document);
    const CVurlXpath engine(expression, &context, &results);
    EXPECT_EQ(engine.m_nError, error) << expression;
    EXPECT_EQ(results.m_nCount, 0U) << expression;
    return show(engine.m_parseList);
}

} // namespace

// Where a reader may stumble: the first slash of the whole expression that stands where a step could begin is
// never a descendant step (a//b); a descendant step's kind is that of the step before it; any quote ends a
// literal when white space is removed, not the one that began it.
TEST(XPathLexer, MakesTheseRecords) {
    static const struct {
        const char *expression, *records;
    } cases[] = {{"/a/b", "/3:25 a, 3:25 b"},
                 {"/a//b", "/3:25 a, 5:25, 3:25 b"},
                 {"/*//b", "/3:1, 5:1, 3:25 b"},
                 {"///a", "/5:16, 5:16, 3:25 a"},
                 {"/a//", "/3:25 a, 5:25"},
                 {"//", "/5:16"},
                 {"/", ""},
                 {"a//b//c", "3:25 a, /3:25 b, 5:25, 3:25 c"},
                 {"a///b", "3:25 a, /5:16, 3:25 b"},
                 {"a/@x/b", "3:25 a, 2:6 @x, 3:25 b"},
                 {"..a", "9:38#0, 3:25 a"},
                 {"ancestor::a", "0:2, 3:25 a"},
                 {"ancestor-or-self::*", "1:3, 3:1"},
                 {"/descendant::a/b", "/4:14, 3:25 a, 3:25 b"},
                 {"following-sibling::a", "7:22, 3:25 a"},
                 {"preceding-sibling::*", "11:40, 3:1"},
                 {"ancestor", "3:25 ancestor"},
                 {"child::a", "3:25 child::a"},
                 {"a-b.c_d:e1", "3:25 a-b.c_d:e1"},
                 {"99999999999999999999", "3:33#2147483647"},
                 {"a[@x!=\"1\"]", "3:25 a, 12:32 @x =1"},
                 {"a[b='t']/c", "3:25 a, 12:20 b =t, 3:25 c"},
                 {"/a[b='t']//c", "/3:25 a, 12:20 b =t, 5:47, 3:25 c"},
                 {"a/[b]c", "3:25 a, 12:36 b, 3:25 c"},
                 {"/a[b]2//", "/3:25 a, 12:36 b, 3:33#2, 5:33"},
                 {"a[@x]@y", "3:25 a, 12:36 @x, 2:6 @y"},
                 {"/..//[b]", "/9:38#0, 5:38, 12:36 b"},
                 {"a b\x01\x1f", "3:25 ab"},
                 {"a[@x='']", "3:25 a, 12:20 @x ="},
                 {"a[@x='p]q']", "3:25 a, 12:20 @x =p]q"},
                 {" a [ @id\t=\n'x y' ] ", "3:25 a, 12:20 @id =x y"},
                 {"a[@x=\"it's so\"]", "3:25 a, 12:20 @x =it'sso"}};
    for (const auto& c : cases)
        EXPECT_EQ(records_and_error(c.expression, 4), c.records) << c.expression;
}

TEST(XPathLexer, RefusesWithTheseErrors) {
    static const char* const invalid[] = {"a$b", "$",   "a@b",       "a*",  "a]",   "a!",    "text()", "1a",
                                          "@*",  "@a$", "a\xc3\xa4", "a[]", "a[@]", "a[1x]", "a[b$]"};
    // Fields end at slashes, in literals too.
    static const char* const malformed[] = {
        "",       " \t",       "a[@id='x", "a[@id='x]",   "a[b",     "a/parent::b", "a/.",
        "./a",    "a=b",       "a!=b",     "::a",         "'a'",     "@",           "@1",
        "@x[b]",  "@x='1'",    "a[*]",     "a['x']",      "a[='x']", "a[@1]",       "a[@x=1]",
        "a[@x=]", "a[b='1'c]", "a[b(c)]",  "a[@x='p/q']", "a[b/c]"};
    for (const char* expression : invalid)
        records_and_error(expression, 1);
    for (const char* expression : malformed)
        records_and_error(expression, 3);
    for (const char* expression : {"a[2]", "a[2]/$", "a/following::b", "preceding::b"})
        records_and_error(expression, 5);
    EXPECT_EQ(records_and_error("a[2]", 5), "3:25 a, 12:33#2");
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
    char word[] = "'b c'd";
    const std::unique_ptr<char[]> literal(engine.tokenizeNameNumber(word));
    EXPECT_STREQ(literal.get(), "b c");
    EXPECT_EQ(engine.m_nTokenKind, 47);
    char axis[] = "descendant::a";
    char* start = axis;
    EXPECT_EQ(engine.checkReservedWords(&start), 14);
    start = nullptr;
    EXPECT_EQ(engine.checkReservedWords(&start), 52);
}
