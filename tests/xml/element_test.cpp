// Elements, their movements and their lists.
#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>

namespace {

std::string names(CVurlElementList* list) {
    std::string text;
    CVurlIterator it;
    for (list->Head(); list->nextNode(&it) != 0;)
        text += it.GetTagName();
    return text;
}

} // namespace

TEST(Element, AnswersForANullElementWithNothing) {
    CVurlDOM dom;
    CVurlElement none(&dom);
    EXPECT_STREQ(none.GetTagName(), "");
    EXPECT_EQ(none.HasChild(), 0);
    EXPECT_STREQ(none.SetData("x"), "");
    EXPECT_STREQ(none.SetTagName("x"), "x");
    for (const char* nothing : {none.GetData(), none.GetAttribute("a"), none.SetAttribute("a", "x"),
                                none.CopyAttribute(&none, "a"), none.CopyData(&none)})
        EXPECT_EQ(nothing, nullptr);
    none.DeleteAttribute("a");
    CVurlIterator it;
    EXPECT_EQ(it.ToFirstElement(), 1);
    EXPECT_EQ(it.BindToDOM(&dom) + it.ToChildElement() + it.ToParentElement() + it.BeginTraverseHere(), 0);
}

TEST(Element, ReturnsWhatIsStoredAndStoresNothingTwice) {
    Document dom("<r><x a='1' b='2'>t</x></r>");
    EXPECT_STREQ(at(&dom).SetData("lost"), ""); // it has children
    CVurlIterator x = at(&dom, {0});
    EXPECT_EQ(x.SetData("t"), x.GetData());
    EXPECT_EQ(x.SetAttribute("b", "2"), x.GetAttribute("b"));
    EXPECT_EQ(x.SetTagName("x"), x.GetTagName());
    EXPECT_EQ(dom.m_pStringPool->pNext, nullptr) << "no room was needed";
    EXPECT_STREQ(x.SetTagName(""), "");
    const char own[] = "own";
    EXPECT_EQ(x.SetAttribute("b", own, false), own);
    EXPECT_STREQ(x.SetAttribute("a", nullptr), "");
    EXPECT_EQ(tree_text(dom), "r(x[b=own]'t')");
    EXPECT_STREQ(x.SetData(""), "");
    EXPECT_EQ(x.GetData(), nullptr);
}

// An attribute that the source lacks goes when the source is in another document, and stays within one.
TEST(Element, CopiesAttributesDifferentlyWithinAndAcrossDocuments) {
    Document one("<r><x a='1'>t</x><y b='2'/></r>");
    Document two("<s a='3' b='4'/>");
    CVurlIterator x = at(&one, {0});
    CVurlIterator y = at(&one, {1});
    CVurlIterator s = at(&two);
    EXPECT_EQ(y.CopyAttribute(&x, "b"), nullptr);
    EXPECT_EQ(y.CopyAttribute(&x, "a"), x.GetAttribute("a"));
    EXPECT_STREQ(s.CopyAttribute(&x, "b"), "");
    EXPECT_NE(s.CopyAttribute(&x, "a"), x.GetAttribute("a"));
    EXPECT_STREQ(s.CopyData(&x), "t");
    EXPECT_EQ(tree_text(one), "r(x[a=1]'t',y[b=2,a=1])");
    EXPECT_EQ(tree_text(two), "s[a=1]'t'");
}

TEST(Iterator, CountsItsDepthAndStaysWhereThereIsNowhereToGo) {
    Document dom("<r i='0'><a/><b i='1'><c j='2'/></b></r>");
    CVurlIterator it = at(&dom, {1, 0});
    EXPECT_STREQ(it.GetAttributeInherit("i"), "1");
    EXPECT_EQ(it.ToParentElement(), 1);
    EXPECT_EQ(it.m_nDepth, -1);
    EXPECT_EQ(it.ToRootElement(), 1);
    EXPECT_EQ(it.m_nDepth, 0);
    EXPECT_EQ(it.ToFirstElement(), 1);
    EXPECT_EQ(it.m_pNode, dom.m_pRoot);
    const char *name, *value;
    EXPECT_EQ(it.GetFirstAttribute(&name, &value), 1);
    EXPECT_STREQ(value, "0");
    EXPECT_EQ(it.GetNextAttribute(&name, &value) + it.GetNextAttribute(&name, &value), 0);
}

// A walk may delete the element it stands on and goes on as if it were still there.
TEST(Iterator, WalksExactlyTheSubtreeWhereItBeginsAndGoesOnFromDeletedElements) {
    const struct {
        std::initializer_list<int> start;
        const char *deleted, *visited, *left;
    } cases[] = {{{1}, "", "c", "r(a(x),b[i=1](c),d)"},
                 {{2}, "", "", "r(a(x),b[i=1](c),d)"},
                 {{}, "xb", "axbd", "r(a,d)"},
                 {{}, "abd", "abd", "r"}};
    for (const auto& c : cases) {
        Document dom("<r><a><x/></a><b i='1'><c/></b><d/></r>");
        CVurlIterator it = at(&dom, c.start);
        const CVurlIterator start = it;
        it.DeleteElement(); // the bound element stays
        std::string visited;
        for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse()) {
            if (step != 1)
                continue;
            visited += it.GetTagName();
            if (std::string(c.deleted).find(visited.back()) != std::string::npos)
                it.DeleteElement();
        }
        EXPECT_EQ(visited, c.visited);
        EXPECT_EQ(tree_text(dom), c.left);
        EXPECT_TRUE(it == start && it.IsRoot());
    }
}

// Code that moves a running walk elsewhere counts on the traversal state staying.
TEST(Iterator, AssignsItsPlaceButNotItsTraversal) {
    Document dom("<r><a/></r>");
    CVurlIterator walk = at(&dom);
    walk.BeginTraverseHere();
    CVurlIterator place;
    place.m_nTraverseBase = 7;
    place = walk;
    EXPECT_EQ(place.m_nTraverseBase, 7);
    EXPECT_EQ(place.m_bDescend, 0);
    EXPECT_TRUE(place == walk && place.m_nDepth == 1);
    EXPECT_EQ(CVurlIterator(walk).m_bDescend, 1);
}

TEST(Iterator, InsertsAtEachPlaceThatThereIs) {
    const struct {
        int child, where; // of the root; -1: the root
        const char* tree; // null: there is no such place
    } cases[] = {
        {1, VURL_NEXT_SIBLING, "r(a,b't',N,c)"}, {1, VURL_FIRST_SIBLING, "r(N,a,b't',c)"},
        {0, VURL_LAST_SIBLING, "r(a,b't',c,N)"}, {-1, VURL_FIRST_CHILD, "r(N,a,b't',c)"},
        {-1, VURL_LAST_CHILD, "r(a,b't',c,N)"},  {1, VURL_LAST_CHILD, "r(a,b(N),c)"},
        {-1, VURL_NEXT_SIBLING, nullptr},        {-1, VURL_FIRST_SIBLING, nullptr},
        {-1, VURL_LAST_SIBLING, nullptr},        {1, VURL_LAST_CHILD + 1, nullptr},
    };
    for (const auto& c : cases) {
        Document dom("<r><a/><b>t</b><c/></r>");
        CVurlIterator it = at(&dom);
        for (int i = 0; i <= c.child; ++i)
            i == 0 ? it.ToChildElement() : it.ToNextElement();
        const unsigned releases = dom.m_nNodeReleases;
        EXPECT_EQ(it.InsertElement("N", static_cast<VURL_LOCATION>(c.where)), c.tree != nullptr) << c.where;
        EXPECT_EQ(tree_text(dom), c.tree != nullptr ? c.tree : "r(a,b't',c)");
        EXPECT_EQ(*it.GetTagName() == 'N', c.tree != nullptr) << c.where;
        EXPECT_EQ(dom.m_nNodeReleases - releases, c.tree == nullptr ? 1u : 0u) << "given back";
    }
    Document dom("<r>t</r>");
    CVurlIterator it = at(&dom);
    EXPECT_EQ(it.InsertCopyOfElement(CVurlElement(), VURL_LAST_CHILD), 0);
    EXPECT_EQ(it.InsertNode(nullptr, VURL_LAST_CHILD), 1); // descends and loses the text all the same
    EXPECT_EQ(it.m_nDepth, 1);
    EXPECT_EQ(it.InsertElement("n", VURL_FIRST_SIBLING), 1); // no parent to be the first child of
    it.DeleteElement();                                      // a root cannot be taken out of anything
    EXPECT_EQ(tree_text(dom), "r");
}

TEST(Iterator, CopiesAnElementIntoItselfAndIntoAnotherDocument) {
    Document dom("<r><a i='1'><b>t</b></a></r>");
    EXPECT_EQ(at(&dom, {0}).InsertCopyOfElement(at(&dom), VURL_LAST_CHILD), 1);
    EXPECT_EQ(at(&dom, {0, 1, 0, 0}).GetData(), at(&dom, {0, 0}).GetData()) << "strings are shared";
    EXPECT_EQ(tree_text(dom), "r(a[i=1](b't',r(a[i=1](b't'))))");
    Document other("<s/>");
    CVurlIterator copy = at(&other);
    EXPECT_EQ(copy.InsertCopyOfElement(at(&dom, {0}), VURL_LAST_CHILD), 1);
    EXPECT_EQ(tree_text(other), "s(a[i=1](b't',r(a[i=1](b't'))))");
    EXPECT_NE(at(&other, {0, 0}).GetData(), at(&dom, {0, 0}).GetData()) << "not with another document";
}

TEST(ElementList, KeepsFirstFoundOrderWithoutDuplicates) {
    Document dom("<a><b/><c/></a>");
    CVurlElementList list(&dom);
    EXPECT_EQ(list.AtHead() + list.Next() + list.Previous() + list.Delete(), 0);
    CVurlIterator c = at(&dom, {1}), a = at(&dom), out;
    for (CVurlIterator* it : {&c, &a, &c, &a})
        EXPECT_EQ(list.Add(it), 1);
    EXPECT_EQ(list.AtHead(), 1) << "the first entry became current and stays so";
    EXPECT_EQ(names(&list), "ca");
    EXPECT_EQ(list.m_pCurrent, nullptr);
    list.Head();
    EXPECT_EQ(list.peekNode(&out), 0);
    EXPECT_TRUE(out == c);
    EXPECT_EQ(list.peekNode(nullptr), 1);
    EXPECT_EQ(list.Previous(), 0);
    EXPECT_EQ(list.Next() + list.Previous(), 2);
}

TEST(ElementList, DeletesAtTheHeadInTheMiddleAndAtTheTail) {
    const struct {
        int current;
        const char *left, *then_current;
    } cases[] = {{0, "bcd", "b"}, {1, "acd", "a"}, {3, "abc", "c"}};
    Document dom("<r><a/><b/><c/><d/></r>");
    for (const auto& c : cases) {
        CVurlElementList list(&dom);
        CVurlIterator it = at(&dom, {0});
        do
            list.Add(&it);
        while (it.ToNextElement() != 0);
        for (int i = 0; i < c.current; ++i)
            list.Next();
        EXPECT_EQ(list.Delete(), 1);
        list.peekNode(&it);
        EXPECT_STREQ(it.GetTagName(), c.then_current);
        EXPECT_EQ(list.AtHead(), c.current < 2) << "a new head has no previous entry";
        EXPECT_EQ(names(&list), c.left);
    }
}

// Long lists find duplicates through an index; it must stay true through deletions.
TEST(ElementList, StaysExactWhenItIsLong) {
    constexpr unsigned kCount = 20000;
    CVurlDOM dom;
    dom.CreateDOM("r");
    CVurlElementList list(&dom);
    CVurlIterator it = at(&dom);
    it.InsertElement("e", VURL_FIRST_CHILD);
    while (list.Add(&it) == 1 && list.m_nCount < kCount)
        ASSERT_EQ(it.InsertElement("e", VURL_NEXT_SIBLING), 1);
    list.Head();
    while (list.Next() != 0) // every second entry goes
        list.Delete(), list.Next();
    EXPECT_EQ(list.m_nCount, kCount / 2);
    CVurlIterator none;
    list.Add(&none);
    list.Add(&none);
    it.ToFirstElement();
    do
        list.Add(&it);
    while (it.ToNextElement() != 0);
    EXPECT_EQ(list.m_nCount, kCount + 1);
}
