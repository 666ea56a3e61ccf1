#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>

namespace {

CVurlNode* child(CVurlNode* node, int index) {
    node = node->pFirstChild;
    while (index-- > 0)
        node = node->pNextSibling;
    return node;
}

CVurlIterator at(CVurlDOM* dom, CVurlNode* node) {
    CVurlIterator it;
    it.SetSubRoot(dom, node);
    return it;
}

} // namespace

TEST(Element, AnswersForANullElementWithNothing) {
    CVurlDOM dom;
    dom.m_nXPathError = 4;
    CVurlElement none(&dom);
    EXPECT_EQ(dom.m_nXPathError, 0u);
    EXPECT_STREQ(none.GetTagName(), "");
    EXPECT_EQ(none.GetData(), nullptr);
    EXPECT_EQ(none.HasChild(), 0);
    EXPECT_EQ(none.GetAttribute("a"), nullptr);
    EXPECT_STREQ(none.SetData("x"), "");
    EXPECT_STREQ(none.SetTagName("x"), "x");
    EXPECT_EQ(none.SetAttribute("a", "x"), nullptr);
    EXPECT_EQ(none.CopyAttribute(&none, "a"), nullptr);
    EXPECT_EQ(none.CopyData(&none), nullptr);
    none.DeleteAttribute("a");
}

TEST(Element, EditsTextNameAndAttributes) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r><x a='1' b='2'>t</x></r>"), 1);
    CVurlElement root(&dom);
    CVurlElement x(&dom);
    x.m_pNode = child(dom.m_pRoot, 0);
    EXPECT_STREQ(root.SetData("lost"), ""); // it has children
    EXPECT_EQ(x.SetData("t"), x.GetData());
    EXPECT_STREQ(x.SetData("u"), "u");
    EXPECT_STREQ(x.SetTagName(""), "");
    EXPECT_EQ(x.SetTagName(nullptr), nullptr);
    EXPECT_STREQ(x.SetTagName("y"), "y");
    EXPECT_STREQ(x.SetAttribute("c", "3"), "3");
    const char* const kept = x.GetAttribute("b");
    EXPECT_EQ(x.SetAttribute("b", "2"), kept);
    const char own[] = "own";
    EXPECT_EQ(x.SetAttribute("b", own, false), own);
    EXPECT_EQ(tree_text(dom), "r(y[a=1,b=own,c=3]'u')");
    EXPECT_STREQ(x.SetAttribute("a", nullptr), "");
    x.DeleteAttribute("absent");
    EXPECT_STREQ(x.SetData(""), "");
    EXPECT_EQ(tree_text(dom), "r(y[b=own,c=3])");
    x.SetData("v");
    x.DeleteData();
    EXPECT_EQ(x.GetData(), nullptr);
}

// An attribute that the source lacks goes when the source is in another document, and stays within one.
TEST(Element, CopiesAttributesDifferentlyWithinAndAcrossDocuments) {
    CVurlDOM one;
    CVurlDOM two;
    ASSERT_EQ(one.ReadDoc("<r><x a='1'>t</x><y b='2'/></r>"), 1);
    ASSERT_EQ(two.ReadDoc("<s a='3' b='4'/>"), 1);
    CVurlElement x(&one);
    x.m_pNode = child(one.m_pRoot, 0);
    CVurlElement y(&one);
    y.m_pNode = child(one.m_pRoot, 1);
    CVurlElement s(&two);
    EXPECT_EQ(y.CopyAttribute(&x, "b"), nullptr);
    EXPECT_EQ(y.CopyAttribute(&x, "a"), x.GetAttribute("a"));
    EXPECT_STREQ(s.CopyAttribute(&x, "b"), "");
    EXPECT_STREQ(s.CopyAttribute(&x, "a"), "1");
    EXPECT_NE(s.GetAttribute("a"), x.GetAttribute("a"));
    EXPECT_EQ(x.CopyData(&x), x.GetData());
    EXPECT_STREQ(s.CopyData(&x), "t");
    EXPECT_TRUE(CVurlIterator::DefaultCopier(&x, &y));
    EXPECT_EQ(y.GetAttribute("a"), x.GetAttribute("a"));
    EXPECT_EQ(tree_text(one), "r(x[a=1]'t',y[b=2,a=1]'t')");
    EXPECT_EQ(tree_text(two), "s[a=1]'t'");
}

TEST(Iterator, WalksExactlyTheSubtreeWhereItBegins) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r><a><b><c/></b><d/></a><e/></r>"), 1);
    const struct {
        CVurlNode* start;
        const char* visited;
    } cases[] = {{dom.m_pRoot, "abcde"}, {child(dom.m_pRoot, 0), "bcd"}, {child(dom.m_pRoot, 1), ""}};
    for (const auto& c : cases) {
        CVurlIterator it = at(&dom, c.start);
        std::string visited;
        for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse())
            visited += step == 1 ? it.GetTagName() : "";
        EXPECT_EQ(visited, c.visited);
        EXPECT_EQ(it.m_pNode, c.start);
        EXPECT_TRUE(it.IsRoot());
    }
}

TEST(Iterator, CountsItsDepthAndStaysWhereThereIsNowhereToGo) {
    CVurlDOM dom;
    CVurlIterator it;
    EXPECT_EQ(it.BindToDOM(&dom), 0);
    EXPECT_EQ(it.ToFirstElement(), 1);
    EXPECT_EQ(it.ToChildElement() + it.ToNextElement() + it.ToParentElement() + it.BeginTraverseHere(), 0);
    ASSERT_EQ(dom.ReadDoc("<r i='0'><a/><b i='1'><c j='2'/></b></r>"), 1);
    it = at(&dom, child(child(dom.m_pRoot, 1), 0));
    EXPECT_STREQ(it.GetAttributeInherit("j"), "2");
    EXPECT_STREQ(it.GetAttributeInherit("i"), "1");
    EXPECT_EQ(it.GetAttributeInherit("k"), nullptr);
    EXPECT_EQ(it.ToParentElement(), 1);
    EXPECT_EQ(it.m_nDepth, -1);
    EXPECT_EQ(it.ToFirstElement(), 1);
    EXPECT_STREQ(it.GetTagName(), "a");
    EXPECT_EQ(it.ToRootElement(), 1);
    EXPECT_EQ(it.ToFirstElement(), 1);
    EXPECT_EQ(it.m_pNode, dom.m_pRoot);
    const char* name = nullptr;
    const char* value = nullptr;
    EXPECT_EQ(it.GetFirstAttribute(&name, &value), 1);
    EXPECT_STREQ(name, "i");
    EXPECT_STREQ(value, "0");
    EXPECT_EQ(it.GetNextAttribute(&name, &value), 0);
    EXPECT_EQ(it.GetNextAttribute(&name, &value), 0);
}

// Code that moves a running walk elsewhere counts on the traversal state staying.
TEST(Iterator, AssignsItsPlaceButNotItsTraversal) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r a='1'><a><b/></a><c/></r>"), 1);
    CVurlIterator walk = at(&dom, dom.m_pRoot);
    walk.BeginTraverseHere();
    CVurlIterator place;
    place.m_nTraverseBase = 7;
    place = walk;
    EXPECT_EQ(place.m_nTraverseBase, 7);
    EXPECT_EQ(place.m_bDescend, 0);
    EXPECT_EQ(place.m_nDepth, 1);
    EXPECT_TRUE(place == walk);
    const CVurlIterator copy(walk);
    EXPECT_EQ(copy.m_bDescend, 1);
}

// The random edits show that each place is the right one.
TEST(Iterator, StaysWhereItIsWhenThereIsNoSuchPlace) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r>t</r>"), 1);
    CVurlIterator it = at(&dom, dom.m_pRoot);
    for (const int where : {0, 1, 2, 5}) { // a root has no siblings, and there are five places
        EXPECT_EQ(it.InsertElement("N", static_cast<VURL_LOCATION>(where)), 0) << where;
        EXPECT_EQ(it.m_pNode, dom.m_pRoot) << where;
    }
    EXPECT_EQ(tree_text(dom), "r't'");
}

TEST(Iterator, LosesTextAndDescendsEvenWhenThereIsNothingToInsert) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r>t</r>"), 1);
    CVurlIterator it = at(&dom, dom.m_pRoot);
    EXPECT_EQ(it.InsertNode(nullptr, VURL_LAST_CHILD), 1);
    EXPECT_EQ(it.GetData(), nullptr);
    EXPECT_EQ(it.m_nDepth, 1);
    EXPECT_EQ(it.InsertElement("n", VURL_FIRST_SIBLING), 1); // no parent to be the first child of
    EXPECT_EQ(tree_text(dom), "r");
}

// A walk may delete the element it stands on and goes on as if it were still there.
TEST(Iterator, GoesOnFromADeletedElement) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r><a><x/></a><b i='1'><c/></b><d/></r>"), 1);
    CVurlIterator it = at(&dom, dom.m_pRoot);
    it.DeleteElement(); // the bound element stays
    std::string visited;
    for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse()) {
        if (step != 1)
            continue;
        visited += it.GetTagName();
        if (visited.back() == 'b' || visited.back() == 'x')
            it.DeleteElement();
    }
    EXPECT_EQ(visited, "axbd");
    EXPECT_EQ(tree_text(dom), "r(a,d)");
    it = at(&dom, child(dom.m_pRoot, 0));
    it.ToParentElement();
    it.DeleteElement(); // a root cannot be taken out of anything
    EXPECT_EQ(tree_text(dom), "r(a,d)");
}

TEST(Iterator, CopiesAnElementIntoItself) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r><a i='1'><b>t</b></a></r>"), 1);
    CVurlIterator it = at(&dom, child(dom.m_pRoot, 0));
    EXPECT_EQ(it.InsertCopyOfElement(CVurlElement(&dom), VURL_LAST_CHILD), 1);
    EXPECT_EQ(tree_text(dom), "r(a[i=1](b't',r(a[i=1](b't'))))");
    EXPECT_EQ(it.InsertCopyOfElement(CVurlElement(), VURL_LAST_CHILD), 0);
}

namespace {

std::string names(CVurlElementList* list) {
    std::string text;
    CVurlIterator it;
    for (list->Head(); list->nextNode(&it) != 0;)
        text += it.GetTagName();
    return text;
}

} // namespace

TEST(ElementList, KeepsFirstFoundOrderWithoutDuplicates) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<a><b/><c/></a>"), 1);
    CVurlElementList list(&dom);
    EXPECT_EQ(list.AtHead() + list.Next() + list.Previous() + list.Delete(), 0);
    CVurlIterator c = at(&dom, child(dom.m_pRoot, 1));
    CVurlIterator b = at(&dom, child(dom.m_pRoot, 0));
    CVurlIterator a = at(&dom, dom.m_pRoot);
    for (CVurlIterator* it : {&c, &a, &c, &b, &a})
        EXPECT_EQ(list.Add(it), 1);
    EXPECT_EQ(list.m_nCount, 3u);
    EXPECT_EQ(list.AtHead(), 1) << "the first entry became current and stays so";
    EXPECT_EQ(names(&list), "cab");
    EXPECT_EQ(list.m_pCurrent, nullptr);
    list.Head();
    CVurlIterator out;
    EXPECT_EQ(list.peekNode(&out), 0);
    EXPECT_TRUE(out == c);
    EXPECT_EQ(list.peekNode(nullptr), 1);
    EXPECT_EQ(list.Previous(), 0);
    EXPECT_EQ(list.Next() + list.Next(), 2);
    EXPECT_EQ(list.Previous(), 1);
    EXPECT_EQ(list.AtHead(), 0);
}

TEST(ElementList, DeletesAtTheHeadInTheMiddleAndAtTheTail) {
    CVurlDOM dom;
    ASSERT_EQ(dom.ReadDoc("<r><a/><b/><c/><d/></r>"), 1);
    CVurlElementList list(&dom);
    CVurlIterator it = at(&dom, child(dom.m_pRoot, 0));
    do
        list.Add(&it);
    while (it.ToNextElement() != 0);
    list.Next();
    list.Next();
    EXPECT_EQ(list.Delete(), 1); // c; b is current
    EXPECT_EQ(list.Delete(), 1); // b; a is current
    EXPECT_EQ(names(&list), "ad");
    list.Head();
    EXPECT_EQ(list.Delete(), 1); // a, the head
    EXPECT_EQ(list.AtHead(), 1);
    EXPECT_EQ(list.m_pHead->pPrev, nullptr);
    EXPECT_EQ(list.Delete(), 1); // d, head and tail
    EXPECT_EQ(list.m_pTail, nullptr);
    EXPECT_EQ(list.m_nCount, 0u);
    it.ToFirstElement();
    EXPECT_EQ(list.Add(&it), 1); // deleted elements can come back
    EXPECT_EQ(names(&list), "a");
}

// Long lists find duplicates through an index; it must stay true through deletions.
TEST(ElementList, StaysExactWhenItIsLong) {
    constexpr int kCount = 20000;
    CVurlDOM dom;
    dom.CreateDOM("r");
    CVurlIterator it = at(&dom, dom.m_pRoot);
    ASSERT_EQ(it.InsertElement("e", VURL_FIRST_CHILD), 1);
    CVurlElementList list(&dom);
    for (int i = 1; i < kCount; ++i) {
        EXPECT_EQ(list.Add(&it), 1);
        ASSERT_EQ(it.InsertElement("e", VURL_NEXT_SIBLING), 1);
    }
    list.Head();
    while (list.Next() != 0) // every second entry goes
        list.Delete(), list.Next();
    const unsigned left = list.m_nCount;
    EXPECT_EQ(left, (kCount - 1) / 2 + 1u);
    CVurlIterator none;
    list.Add(&none);
    list.Add(&none);
    for (it.ToFirstElement(); it.ToNextElement() != 0;)
        list.Add(&it);
    it.ToFirstElement();
    list.Add(&it);
    EXPECT_EQ(list.m_nCount, kCount + 1u);
}
