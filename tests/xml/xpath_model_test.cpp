// The engine beside the model, over random expressions and documents.
#include "tests/xml/tree_text.h"
#include "tests/xml/xpath_model.h"
#include <gtest/gtest.h>
#include <random>

namespace {

std::mt19937 g_random(20240607);

int pick(int n) {
    return static_cast<int>(g_random() % static_cast<unsigned>(n));
}

template <int N> const char* any_of(const char* const (&choices)[N]) {
    return choices[pick(N)];
}

void write_element(std::string* text, int depth, int* budget, int names) {
    const std::string name(1, static_cast<char>('a' + pick(names)));
    *text += "<" + name + any_of({"", "", " x='1'", " x='2' y='1'", " y='2'"}) + ">";
    --*budget;
    if (depth == 0 || pick(4) == 0)
        *text += any_of({"", "1", "2"});
    else
        for (int children = pick(5); children >= 0 && *budget > 0; --children)
            write_element(text, depth - 1, budget, names);
    *text += "</" + name + ">";
}

std::string random_document(int size, int names) {
    std::string text = "<r>";
    while (size > 0)
        write_element(&text, 2 + pick(6), &size, names);
    return text + "</r>";
}

std::string random_expression(int steps) {
    std::string text = any_of({"", "", "/", "//", "//", "ancestor::", "ancestor-or-self::", "descendant::",
                               "following-sibling::", "preceding-sibling::", "/descendant::"});
    for (int step = 0; step < steps; ++step) {
        if (step > 0)
            text += any_of({"/", "/", "/", "//"});
        text += any_of({"a", "a", "a", "b", "b", "c", "*", "*", "..", "@x", "r", "ancestor::", "[b]2"});
    }
    if (pick(3) == 0)
        text += any_of({"[@x]", "[@x='1']", "[@x!='1']", "[a]", "[b='1']", "[b != '1']", "[c]/a", "[a][b]"});
    return text;
}

int depth_of(const CVurlNode* node) {
    return node->pParent == nullptr ? 0 : 1 + depth_of(node->pParent);
}

// The steps that the model took.
unsigned long compare(CVurlDOM* document, const std::string& expression, const CVurlIterator& context) {
    CVurlIterator moved = context;
    CVurlElementList results(document);
    const CVurlXpath engine(expression.c_str(), &moved, &results);
    if (engine.m_nError != 0 && engine.m_nError != 4)
        return 0; // something behind @x
    XPathModel model(engine.m_parseList);
    CVurlNode* left_at = context.m_pNode;
    const int error = model.select(&left_at);
    if (model.steps >= XPathModel::kTooLong)
        return 0;
    EXPECT_EQ(engine.m_nError, error) << expression;
    EXPECT_EQ(moved.m_pNode, left_at) << expression;
    EXPECT_EQ(moved.m_nDepth, depth_of(left_at)) << expression;
    std::vector<const CVurlNode*> selected;
    for (const CVurlListNode* entry = results.m_pHead; entry != nullptr; entry = entry->pNext) {
        selected.push_back(entry->pIterator->m_pNode);
        EXPECT_EQ(entry->pIterator->m_nDepth, depth_of(selected.back())) << expression;
    }
    EXPECT_EQ(selected, model.results) << expression;
    CVurlElement single = context;
    EXPECT_EQ(single.selectSingleNode(expression.c_str()).m_pNode,
              selected.empty() ? nullptr : selected.front())
        << expression;
    EXPECT_EQ(single.m_pNode, left_at) << expression;
    return model.steps;
}

// How many of the comparisons made the model walk so long that the engine cannot have done the same.
int compare_many(int documents, int expressions, int size, int names, int steps) {
    int long_walks = 0;
    for (int d = 0; d < documents && !testing::Test::HasFailure(); ++d) {
        Document document(random_document(size, names));
        for (int e = 0; e < expressions && !testing::Test::HasFailure(); ++e) {
            CVurlIterator context = at(&document);
            for (int moves = pick(8); moves > 0; --moves)
                pick(2) != 0 ? context.ToChildElement() : context.ToNextElement();
            long_walks += compare(&document, random_expression(1 + pick(steps)), context) > 10000;
        }
    }
    return long_walks;
}

} // namespace

TEST(XPathModel, AgreesOnShortExpressions) {
    compare_many(100, 150, 25, 3, 4);
}

TEST(XPathModel, AgreesOnExpressionsThatVisitElementsAgainAndAgain) {
    EXPECT_GT(compare_many(120, 100, 80, 2, 14), 10);
}
