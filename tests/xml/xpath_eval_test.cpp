// What expressions select, in which order, where they leave the context, and that they end.
#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <memory>
#include <string>

namespace {

// Elements are told apart by their attribute i.
constexpr char kTree[] = "<r i='r'>"
                         "<a i='1' x='1'><b i='2'>t</b><b i='3'>u</b><c i='4'/></a>"
                         "<b i='5' y='2'><a i='6'><b i='7' x='2'>t</b><a i='8'><d/></a></a></b>"
                         "<a i='9'/>"
                         "<c i='10' x='1'><a i='11' x='3'><c i='12'>t</c></a></c>"
                         "</r>";

class XPathEvaluation : public testing::Test {
  protected:
    CVurlIterator find(const std::string& i) {
        CVurlIterator it = at(&document);
        if (i != "r") {
            it.BeginTraverseHere();
            while ((it.GetAttribute("i") == nullptr || i != it.GetAttribute("i")) &&
                   it.ContinueTraverse() != 0) {
            }
        }
        return it;
    }
    Document document{kTree};
};

std::string ids(CVurlElementList* list) {
    std::string text;
    CVurlIterator it;
    for (list->Head(); list->nextNode(&it) != 0;) {
        const char* const i = it.GetAttribute("i");
        text += (text.empty() ? "" : " ") + std::string(i == nullptr ? "-" : i);
        int depth = it.m_nDepth;
        while (it.ToParentElement() != 0)
            --depth;
        EXPECT_EQ(depth, 0) << text;
    }
    return text;
}

struct Case {
    const char* context;
    const char* expression;
    const char* selected;
    const char* moved_to = nullptr; // null: the context stays
};

} // namespace

// Where a reader may stumble: the root is never tested against the first step (/r); the step behind * is
// tested at the children themselves (*/a); without a leading slash the first // is a plain step (b//b);
// where the rest of a path finds nothing below an element, it is tried at the element (b/a/a);
// an axis counts on the first step alone; a predicate ends its path; a number behind it picks from all that
// was found.
TEST_F(XPathEvaluation, SelectsInTheOrderOfItsWalkAndLeavesTheContextWhereThatEnds) {
    static const Case cases[] = {{"r", "A", ""},
                                 {"7", "/r", "", "r"},
                                 {"r", "*/a", "1 9"},
                                 {"r", "/*/*", "2 3 4 6 11"},
                                 {"6", "//*", "1 5 9 10 2 3 4 6 7 8 - 11 12", "r"},
                                 {"6", "/b//a", "6 8", "r"},
                                 {"6", "b//b", "7"},
                                 {"r", "b/a/a", "8"},
                                 {"r", "@i", "r"},
                                 {"r", "*/@x/a", "11"},
                                 {"7", "..", "6"},
                                 {"5", "a/../b", "5"},
                                 {"7", "ancestor::b", "5", "r"},
                                 {"7", "ancestor-or-self::*", "7 8 6 1 5 9 10", "r"},
                                 {"r", "descendant::b/a", "6", "10"},
                                 {"4", "descendant::a", ""},
                                 {"1", "following-sibling::*", "6 11", "10"},
                                 {"10", "following-sibling::a", ""},
                                 {"10", "preceding-sibling::a", "1 9"},
                                 {"r", "a/ancestor::r", ""},
                                 {"7", "/", ""},
                                 {"7", "//", "", "r"},
                                 {"r", "a[@x]/b", "1"},
                                 {"r", "//a[@x][b]", "1 11", "r"},
                                 {"r", "//a[@x]2", "11", "r"},
                                 {"r", "//a[@x]0", "", "r"},
                                 {"1", "[@x][b]", "1"},
                                 // unequal is not the opposite of equal: something else must be there
                                 {"r", "//a[@x!='1']", "6 8 9 11", "r"},
                                 {"r", "//d[@x!='1']", "", "r"},
                                 {"r", "//*[b!='u']", "r 6", "r"},
                                 {"r", "//*[b='u']", "1", "r"},
                                 {"r", "b/*/..", "5"},
                                 {"r", "//b/*/b", "", "r"},
                                 {"r", "//*/../b", "5", "r"},
                                 {"r", "*/*[@x='1']", "1 10"}};
    for (const Case& c : cases) {
        CVurlIterator context = find(c.context);
        const std::unique_ptr<CVurlElementList> list(context.selectNodes(c.expression));
        ASSERT_TRUE(list) << c.expression;
        EXPECT_EQ(ids(list.get()), c.selected) << c.expression;
        EXPECT_EQ(document.m_nXPathError, *c.selected ? 0U : 4U) << c.expression;
        EXPECT_STREQ(context.GetAttribute("i"), c.moved_to ? c.moved_to : c.context) << c.expression;
        CVurlElement plain = find(c.context);
        const CVurlIterator first = plain.selectSingleNode(c.expression);
        EXPECT_EQ(plain.m_pNode, context.m_pNode) << c.expression;
        EXPECT_EQ(first.m_pNode, list->m_pHead ? list->m_pHead->pIterator->m_pNode : nullptr) << c.expression;
        EXPECT_EQ(first.m_nDepth, list->m_pHead ? list->m_pHead->pIterator->m_nDepth : 0) << c.expression;
    }
}

TEST_F(XPathEvaluation, MovesAPlainElementWithoutTouchingWhatLiesBehindIt) {
    struct {
        CVurlElement element;
        unsigned char behind[16];
    } guarded;
    memset(guarded.behind, 0xA5, sizeof guarded.behind);
    for (const char* expression :
         {"/a", "ancestor::r", "descendant::a", "following-sibling::a", "//@x", ".."}) {
        static_cast<CVurlElement&>(guarded.element) = find("5");
        delete guarded.element.selectNodes(expression);
        EXPECT_TRUE(guarded.element.m_pNode && guarded.element.m_pDOM == &document) << expression;
        for (const unsigned char byte : guarded.behind)
            ASSERT_EQ(byte, 0xA5) << expression;
    }
}

TEST_F(XPathEvaluation, DepthsOfAnIteratorAndOfTheResultsGoWithTheMoves) {
    CVurlIterator bound;
    bound.SetSubRoot(&document, find("7").m_pNode);
    EXPECT_EQ(bound.selectSingleNode("..").m_nDepth, -1);
    EXPECT_EQ(bound.m_nDepth, 0);
    bound.selectSingleNode("ancestor::r");
    EXPECT_EQ(bound.m_nDepth, -3);
    const char *name, *value;
    CVurlIterator found = find("7").selectSingleNode("@x");
    ASSERT_EQ(found.GetCurrentAttribute(&name, &value), 1);
    EXPECT_STREQ(value, "2");
}

TEST_F(XPathEvaluation, TellsAWrongExpressionFromNoMatch) {
    CVurlElement root(&document);
    EXPECT_EQ(root.selectNodes(nullptr), nullptr);
    EXPECT_EQ(document.m_nXPathError, 3U);
    EXPECT_EQ(root.selectSingleNode("a$").m_pDOM, nullptr);
    EXPECT_EQ(document.m_nXPathError, 1U);
    CVurlIterator nothing = root.selectSingleNode("z");
    EXPECT_TRUE(nothing.m_pNode == nullptr && nothing.m_pDOM == nullptr);
    EXPECT_EQ(document.m_nXPathError, 4U);
    CVurlIterator removed = find("1");
    removed.DeleteElement(); // and has no siblings any more
    EXPECT_EQ(removed.selectSingleNode("following-sibling::*").m_pNode, nullptr);
    const std::unique_ptr<CVurlElementList> nowhere(CVurlElement().selectNodes("a"));
    EXPECT_EQ(nowhere->m_nCount, 0U);
}

TEST_F(XPathEvaluation, TheEngineCanBeAskedStepByStep) {
    CVurlElement root(&document);
    CVurlElementList list(&document);
    CVurlXpath engine("zz/b[@x!='9']", &root, &list);
    CVurlIterator six = find("6"), r = find("r");
    CVurlXPParseList steps = engine.m_parseList;
    steps.Head();
    steps.Next();
    EXPECT_TRUE(engine.nextActionIsPredicate(steps));
    EXPECT_EQ(engine.findPathMatch(steps, &six), 0);
    EXPECT_EQ(engine.findNodes(steps, &six), 1);
    EXPECT_EQ(engine.DescSearch(steps, &r), 1);
    EXPECT_EQ(ids(&list), "7 2 3 5");
    steps.Next();
    EXPECT_TRUE(engine.filterOnPredicateNotEqual(steps, &six));
    EXPECT_FALSE(engine.filterOnPredicateEqual(steps, &six));
    EXPECT_TRUE(engine.IsDescendant(&r, &six, false) && engine.IsDescendant(&six, &six, true));
    EXPECT_FALSE(engine.IsDescendant(&six, &six, false) || engine.IsDescendant(&six, &r, true));
}
