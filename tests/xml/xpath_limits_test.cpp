// Large and deep documents, long and vicious expressions: every query ends, soon, on a small stack.
#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <memory>
#include <pthread.h>
#include <random>
#include <string>

namespace {

constexpr int kMany = 100000;

// A piece of a test, on a stack that recursion over a document or an expression would soon use up.
void on_small_stack(void (*piece)()) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    const auto start = [](void* argument) -> void* {
        reinterpret_cast<void (*)()>(argument)();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, reinterpret_cast<void*>(piece)), 0);
    pthread_join(thread, nullptr);
}

// A root r with one child a, which has one child a, and so on; the last one has a child z.
void make_chain(CVurlDOM& document, int depth) {
    document.CreateDOM("r");
    CVurlIterator it = at(&document);
    for (int i = 0; i < depth; ++i)
        ASSERT_EQ(it.InsertElement("a", VURL_LAST_CHILD), 1);
    ASSERT_EQ(it.InsertElement("z", VURL_LAST_CHILD), 1);
}

std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i)
        text += piece;
    return text;
}

// Elements selected from the root, or from a context; -1 for an error.
int selected(CVurlDOM& document, const std::string& expression, const CVurlIterator* context = nullptr) {
    CVurlIterator it = context ? *context : at(&document);
    const std::unique_ptr<CVurlElementList> list(it.selectNodes(expression.c_str()));
    return list ? static_cast<int>(list->m_nCount) : -1;
}

void expect(CVurlDOM& document, std::initializer_list<std::pair<std::string, int>> cases) {
    for (const auto& c : cases)
        EXPECT_EQ(selected(document, c.first), c.second) << c.first.substr(0, 80);
}

std::string random_tree(std::mt19937& random, int depth) {
    const char* const attributes[] = {"", " x='1'", " x='2' y='1'"};
    const std::string name(1, "abc"[random() % 3]);
    std::string text = "<" + name + attributes[random() % 3] + ">";
    for (auto children = depth == 0 ? 0 : random() % 4; children > 0; --children)
        text += random_tree(random, depth - 1);
    return text + "</" + name + ">";
}

std::string random_expression(std::mt19937& random) {
    const char* const starts[] = {"//", "//", "descendant::", "ancestor-or-self::"};
    const char* const steps[] = {"a", "a", "b", "b", "c", "*", "*", "..", "@x"};
    const char* const ends[] = {"", "", "[@x]", "[@x!='1']", "[a]", "[b]/c"};
    std::string text = starts[random() % 4];
    for (auto count = random() % 5; count > 0; --count)
        text += std::string(steps[random() % 9]) + (random() % 4 == 0 ? "//" : "/");
    return text + steps[random() % 8] + ends[random() % 6];
}

// The selected elements but those without an attribute and child, with their subtrees.
std::string selection(CVurlDOM& document, const std::string& expression) {
    std::string text;
    CVurlIterator root = at(&document), it;
    const std::unique_ptr<CVurlElementList> list(root.selectNodes(expression.c_str()));
    for (; list && list->nextNode(&it) != 0;) {
        if (*it.GetTagName() != 'd')
            text += (it.m_pNode->pParent == nullptr ? "r" : tree_text(it.m_pNode)) + "\n";
    }
    return text;
}

} // namespace

TEST(XPathLimits, ADocumentOfAHundredThousandLevels) {
    on_small_stack([] {
        CVurlDOM document;
        make_chain(document, kMany);
        expect(document, {{"//a", kMany},
                          {"//*", kMany + 1},
                          {"descendant::a/z", 1},
                          {"//a[z]", 1},
                          {"//a//a//a//a//nothing", 0},
                          {"//" + repeated("a/", 20) + "nothing", 0},
                          {"//" + repeated("*/../", 8) + "nothing", 0}});
        CVurlIterator bottom = at(&document);
        bottom = bottom.selectSingleNode("//z");
        EXPECT_EQ(bottom.m_nDepth + bottom.m_nDepthHigh * 0x10000, kMany + 1);
        EXPECT_EQ(selected(document, "ancestor::a//z", &bottom), 1);
        EXPECT_EQ(selected(document, repeated("../", kMany) + "..", &bottom), 1); // the root
        EXPECT_EQ(selected(document, repeated("..", kMany + 2), &bottom), 0);
    });
}

TEST(XPathLimits, ADocumentOfAHundredThousandSiblings) {
    on_small_stack([] {
        std::string fan;
        for (int i = 0; i < kMany; ++i)
            fan += "<a n='" + std::to_string(i % 10) + "'><b/></a>";
        Document document("<r>" + fan + "</r>");
        CVurlIterator first = at(&document, {0});
        EXPECT_EQ(selected(document, "following-sibling::*", &first), kMany - 1);
        expect(document, {{"a/b", kMany},
                          {"a[@n='3']", kMany / 10},
                          // Each element leads to the root, and the root to each element.
                          {"/a/../r/a/../r/a/../r/a[b]", kMany},
                          {"//a/..[c='x']", 0},
                          {"//a/../*", kMany},
                          {"//b/../../r/" + repeated("a/../r/", 10) + "nothing", 0}});
    });
}

TEST(XPathLimits, ExpressionsOfManyThousandSteps) {
    on_small_stack([] {
        CVurlDOM document;
        make_chain(document, 50);
        // Where nothing is left below, an element stands for all the rest.
        expect(document, {{repeated("a/", kMany) + "a", 1},
                          {repeated("*", kMany), 0},
                          {repeated("//", kMany / 10) + "z", 1},
                          {repeated("..", kMany), 0},
                          {"//a" + repeated("[a]", kMany), 49},
                          {"a[@x='" + std::string(kMany, 'x') + "']", 0},
                          {std::string(kMany, '1'), 0}});
    });
}

// Long walks remember the outcomes at elements: many equal siblings make the walk long and change nothing
// else.
TEST(XPathLimits, RememberedOutcomesAreThoseOfShortWalks) {
    std::mt19937 random(20240607);
    for (int i = 0; i < 100; ++i) {
        const std::string tree = random_tree(random, 4) + random_tree(random, 4) + "</r>";
        Document small("<r><d/>" + tree);
        Document large("<r>" + repeated("<d/>", 5000) + tree);
        for (int j = 0; j < 20; ++j) {
            const std::string expression = random_expression(random);
            ASSERT_EQ(selection(large, expression), selection(small, expression)) << expression << tree;
        }
    }
}
