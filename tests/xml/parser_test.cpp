#include "tests/xml/tree_text.h"
#include <cstring>
#include <gtest/gtest.h>

namespace {

std::string repeat(const char* piece, int count) {
    std::string text;
    while (count-- > 0)
        text += piece;
    return text;
}

} // namespace

TEST(Parser, BuildsTheTreeOfEachText) {
    const struct {
        std::string text, tree;
    } cases[] = {
        {"<?xml version=\"1.0\"?><!-- c --><r x='1' y=\"a&amp;b\">t&lt;u</r>trailing<", "r[x=1,y=a&b]'t<u'"},
        {"\xEF\xBB\xBFjunk<a\n b\t= \"1\"c='2'\xC2\xA0 />", "a[b=1,c=2]"},
        {"<a>x<b/>y<c>z</c>w</a>", "a(b,c'z')"},
        {"<a>x<?p <&lt;?>y</a>", "a'x'"},
        {"<a b='\"' c=\"'<>\"/>", "a[b=\",c='<>]"},
        {"<a>&amp;&lt;&gt;&quot;&apos;&amp;lt;</a>", "a'&<>\"'&lt;'"},
        {"<a>x&#65;y & z&</a>", "a'x&#65;y & z&'"},
        {"<!DOCTYPE><a/></!DOCTYPE>", "!DOCTYPE(a)"},
        {"< b='c'></>", "[b=c]"},
        {"<a><b/>&lt;<![CDATA[x]]>y</a>", "a(b)"},
        {"<a><!--><b/>--><c/></a>", "a(c)"},
        // Existing files count on both: what follows an entity of a text moves left, and a "&" that begins no
        // entity then leaves the byte it meets.
        {"<a>&lt;x&y</a>", "a'<xty'"},
        {"<a>" + repeat("&lt;", 6) + "x1 & y</a>" + repeat(" ", 32), "a'<<<<<<x1 l y'"},
        {"<a>1&lt;2<![CDATA[<&lt;>]]>x & y&gt;<![CDATA[z]]>.</a>",
         "a'1<2<![CDATA[<&lt;>]]>x & y><![CDATA[z]]>.'"},
        {repeat("<e>", 64) + "<f/>" + repeat("</e>", 64), "e" + repeat("(e", 63) + "(f" + repeat(")", 64)},
    };
    for (const auto& c : cases) {
        CVurlDOM dom;
        EXPECT_EQ(dom.ReadDoc(c.text.c_str()), 1) << c.text;
        EXPECT_EQ(tree_text(dom), c.tree) << c.text;
        EXPECT_EQ(dom.m_nDocSize, 0u) << c.text;
    }
}

TEST(Parser, ReportsTheFirstFaultAndWhereItStopped) {
    const struct {
        std::string text;
        unsigned code, offset;
    } cases[] = {
        {"text", 1, 4},
        {repeat("<e>", 65) + repeat("</e>", 65), 2, 65 * 3 + 64 * 4},
        {repeat("<e>", 65) + "<f>", 2, 65 * 3 + 2},
        {repeat("<e>", 65) + "x", 1, 65 * 3 + 1},
        {repeat("<e>", 64) + "<f></f>", 6, 64 * 3 + 7},
        {"</a>", 3, 4},
        {"<a></a x>", 5, 7},
        {"<a></a/>", 5, 6},
        {"<a><b></a>", 6, 10},
        {"<!-->", 7, 1},
        {"<a b=\"x'>", 8, 9},
        {"<a=\"v\"/>", 8, 2},
        {"<a\xC3\xA9=\"v\"/>", 8, 2},
        {"<a x\xC3=\"v\"/>", 8, 4},
        {"<a / >", 12, 3},
    };
    for (const auto& c : cases) {
        CVurlDOM dom;
        EXPECT_EQ(dom.ReadDoc(c.text.c_str()), 0) << c.text;
        EXPECT_EQ(dom.m_nError, c.code) << c.text;
        EXPECT_EQ(dom.m_nDocSize, c.offset) << c.text;
        EXPECT_EQ(dom.m_pRoot, nullptr) << c.text;
    }
}

TEST(ErrorTexts, AreThoseThatApplicationsShowAndCompare) {
    CVurlDOM dom;
    std::string parsing, selecting;
    for (; dom.m_nError < 14; ++dom.m_nError)
        parsing += std::string(dom.GetErrorDescription()) + "|";
    for (; dom.m_nXPathError < 7; ++dom.m_nXPathError)
        selecting += std::string(dom.GetXPathErrorDescription()) + "|";
    EXPECT_EQ(parsing, "|Incomplete XML document|Tree is too deep|Unexpected end tag|Missing root tag|"
                       "Unterminated tag|Mismatched end tag|Unterminated comment|Unterminated attribute|"
                       "Missing attribute name|Missing attribute value|Internal memory error|"
                       "Invalid tag syntax|Unknown error|");
    EXPECT_EQ(selecting, "|Invalid Character in xpath|Reserved word in xpath|Malformed xpath expression|"
                         "No match found|Unsupported xpath exression|Unknown error|");
}

// Every prefix, in a buffer of its own length, so that a sanitizer sees a byte read too far; and the text
// with a zero byte in that place, where it ends as well.
TEST(Parser, FailsOnEachCutTextWithTheCodeOfItsPlace) {
    const std::string text = "<a b=\"c\">&lt;<![CDATA[d]]><!--e--></a>";
    const struct {
        unsigned code, upto; // the longest prefix that gives it
    } ladder[] = {{1, 0},   {5, 3},  {8, 4},  {10, 5}, {8, 7},  {5, 8},  {1, 13}, {5, 21},
                  {13, 25}, {1, 26}, {5, 29}, {7, 33}, {1, 34}, {5, 37}, {0, 38}};
    unsigned length = 0;
    for (const auto& step : ladder) {
        for (; length <= step.upto; ++length) {
            CVurlDOM cut;
            std::memcpy(cut.CreateDocBuffer(length), text.data(), length);
            EXPECT_EQ(cut.ReadDoc(), step.code == 0) << length;
            EXPECT_EQ(cut.m_nError, step.code) << length;
            CVurlDOM ended;
            char* const buffer = ended.CreateDocBuffer(static_cast<unsigned>(text.size()));
            std::memcpy(buffer, text.data(), text.size());
            buffer[length] = '\0';
            ended.ReadDoc();
            EXPECT_EQ(ended.m_nError, step.code) << length;
            EXPECT_EQ(ended.m_nDocSize, cut.m_nDocSize) << length;
        }
    }
    EXPECT_EQ(length, text.size() + 1);
}

TEST(Parser, NeedsABufferThatEndsAndKeepsTheLastErrorAfterASuccess) {
    CVurlDOM dom;
    EXPECT_EQ(dom.ReadDoc(), 0); // no buffer at all
    EXPECT_EQ(dom.m_nError, 1u);
    EXPECT_EQ(dom.ReadDoc("<a>&</b>"), 0);
    EXPECT_EQ(dom.ReadDoc("<a/>"), 1);
    EXPECT_EQ(dom.m_nError, 6u);
    std::memset(dom.AllocString(256u), 'x', 256);
    EXPECT_EQ(dom.ReadDoc(), 0);
    EXPECT_EQ(dom.m_nError, 1u);
}

// The text stays in place: one block for it, one for the records, which are carved in document order with one
// node and one attribute ahead of need.
TEST(Parser, BuildsInTwoBlocksWithoutCopying) {
    const std::string text = "<a b='1' c='2'><d/></a>" + std::string(1000, ' ');
    CVurlDOM dom;
    char* buffer = dom.CreateDocBuffer(static_cast<unsigned>(text.size()));
    std::memcpy(buffer, text.data(), text.size());
    ASSERT_EQ(dom.ReadDoc(), 1);
    EXPECT_EQ(dom.m_pRoot->pszTagName, buffer + 1);
    EXPECT_EQ(dom.m_pRoot->pFirstAttribute->pszValue, buffer + 6);
    EXPECT_EQ(dom.m_pStringPool->nUsed, text.size() + 1);
    EXPECT_EQ(dom.m_pObjectPool->nSize, 1024u);
    EXPECT_EQ(dom.m_pObjectPool->nUsed, 3 * sizeof(CVurlNode) + 3 * sizeof(CVurlAttribute));
    EXPECT_EQ(static_cast<void*>(dom.m_pRoot), dom.m_pObjectPool + 1);
    EXPECT_EQ(static_cast<void*>(dom.m_pRoot->pFirstAttribute), dom.m_pRoot + 1);
}

TEST(Scanners, SayWhatStoppedThem) {
    CVurlDOM dom;
    std::string name = "a\xC3z", text = "a&lt;b;c";
    char *behind_name = name.data(), *behind_text = text.data();
    EXPECT_EQ(dom.ParseXMLToken(&behind_name), -61);
    EXPECT_EQ(dom.ParseXMLData(&behind_text, ';'), ';');
    EXPECT_EQ(std::string(name.c_str()) + text.c_str() + behind_text, "aa<bc");
    EXPECT_EQ(behind_name, name.data() + 1);
}
