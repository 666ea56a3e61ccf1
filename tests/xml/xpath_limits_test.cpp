// Large and deep documents, long and vicious expressions: every query ends, soon, on a small stack.
#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <memory>
#include <pthread.h>
#include <string>

namespace {

constexpr int kMany = 100000;

// Runs a piece of a test on a stack that recursion over a document or an expression would soon use up.
template <typename Function> void on_small_stack(Function function) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    const auto start = [](void* argument) -> void* {
        (*static_cast<Function*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &function), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// A root r with one child a, which has one child a, and so on; the last one has a child z.
void make_chain(CVurlDOM& document, int depth) {
    document.CreateDOM("r");
    CVurlIterator it = at(&document);
    for (int i = 0; i < depth; ++i)
        ASSERT_EQ(it.InsertElement("a", VURL_LAST_CHILD), 1);
    ASSERT_EQ(it.InsertElement("z", VURL_LAST_CHILD), 1);
}

// A root r with many children a, each with one child b.
std::string fan(int width) {
    std::string text = "<r>";
    for (int i = 0; i < width; ++i)
        text += "<a n='" + std::to_string(i % 10) + "'><b/></a>";
    return text + "</r>";
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

} // namespace

TEST(XPathLimits, ADocumentOfAHundredThousandLevels) {
    on_small_stack([] {
        CVurlDOM document;
        make_chain(document, kMany);
        expect(document, {{"//a", kMany},
                          {"//*", kMany + 1},
                          {"descendant::a/z", 1},
                          {"//a[z]", 1},
                          {"//a//a//a//a//z", 1},
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
        Document document(fan(kMany));
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
                          {repeated("a/", kMany) + "nothing", 0},
                          {repeated("*", kMany), 0},
                          {repeated("//", kMany / 10) + "z", 1},
                          {repeated("..", kMany), 0},
                          {"//a" + repeated("[a]", kMany), 49},
                          {"a[@x='" + std::string(kMany, 'x') + "']", 0},
                          {std::string(kMany, '1'), 0}});
    });
}
