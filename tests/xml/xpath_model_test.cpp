// The engine beside the model, over random expressions and documents.
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

void write_element(std::string& text, int depth, int& budget, int names) {
    const std::string name(1, static_cast<char>('a' + pick(names)));
    text += "<" + name + any_of({"", "", " x='1'", " x='2' y='1'", " y='2'"});
    --budget;
    if (depth == 0 || pick(4) == 0) {
        text += any_of({"/>", ">1</", ">2</"});
        text += text.back() == '/' ? name + ">" : "";
        return;
    }
    text += ">";
    for (int children = pick(5); children >= 0 && budget > 0; --children)
        write_element(text, depth - 1, budget, names);
    text += "</" + name + ">";
}

std::string random_document(int size, int names) {
    std::string text = "<r>";
    while (size > 0)
        write_element(text, 2 + pick(6), size, names);
    return text + "</r>";
}

std::string random_expression(int steps) {
    std::string text = any_of({"", "", "/", "//", "//", "ancestor::", "ancestor-or-self::", "descendant::",
                               "following-sibling::", "preceding-sibling::", "/descendant::"});
    for (int step = 0; step < steps; ++step) {
        if (step > 0)
            text += any_of({"/", "/", "/", "//"});
        text += any_of({"a", "a", "a", "b", "b", "c", "*", "*", "..", "@x", "r", "ancestor::"});
    }
    if (pick(3) == 0)
        text += any_of({"[@x]", "[@x='1']", "[@x!='1']", "[a]", "[b='1']", "[b != '1']", "[c]/a", "[a][b]"});
    return text;
}

// Breaks an expression now and then.
std::string damaged(std::string text) {
    for (int times = pick(4); times > 0; --times) {
        const size_t at = static_cast<size_t>(pick(static_cast<int>(text.size()) + 1));
        if (pick(3) == 0)
            text.erase(at, 1);
        else
            text.insert(at, any_of({"/", "[", "]", "@", "=", "'", "\"", "*", ".", ":", "!", " ", "1", "$",
                                    "a", "following::", "parent::", "[b]2"}));
    }
    return text;
}

void compare(CVurlDOM& document, const std::string& expression, const CVurlIterator& context,
             unsigned& long_walks) {
    const ModelParser parsed(expression);
    CVurlIterator model_context = context;
    std::optional<ModelWalk> model;
    if (parsed.error == 0) {
        model.emplace(parsed.records, model_context);
        if (model->steps >= ModelWalk::kTooLong)
            return;
        long_walks += model->steps > 10000;
    }
    CVurlIterator engine_context = context;
    CVurlElementList results(&document);
    const CVurlXpath engine(expression.c_str(), &engine_context, &results);
    ASSERT_EQ(engine.m_nError, model ? model->error : parsed.error) << expression;
    ASSERT_EQ(show(engine.m_parseList), show(parsed.records)) << expression;
    ASSERT_EQ(engine_context.m_pNode, model_context.m_pNode) << expression;
    ASSERT_EQ(engine_context.m_nDepth, model_context.m_nDepth) << expression;
    CVurlElement single_context = context;
    ASSERT_EQ(single_context.selectSingleNode(expression.c_str()).m_pNode,
              results.m_pHead ? results.m_pHead->pIterator->m_pNode : nullptr)
        << expression;
    ASSERT_EQ(single_context.m_pNode, model_context.m_pNode) << expression;
    size_t count = 0;
    for (const CVurlListNode* entry = results.m_pHead; entry; entry = entry->pNext, ++count) {
        ASSERT_TRUE(model && count < model->results.size()) << expression;
        ASSERT_EQ(entry->pIterator->m_pNode, model->results[count]) << expression << ", result " << count;
        int depth = 0;
        for (const CVurlNode* at = model->results[count]; at->pParent; at = at->pParent)
            ++depth;
        ASSERT_EQ(entry->pIterator->m_nDepth, depth) << expression << ", result " << count;
    }
    ASSERT_EQ(count, model ? model->results.size() : 0) << expression;
}

// Returns how many of the comparisons made the model walk so long that the engine cannot have done the same.
unsigned compare_many(int documents, int expressions, int size, int names, int steps, bool damage) {
    unsigned long_walks = 0;
    for (int d = 0; d < documents && !testing::Test::HasFatalFailure(); ++d) {
        CVurlDOM document;
        EXPECT_EQ(document.ReadDoc(random_document(size, names).c_str()), 1);
        for (int e = 0; e < expressions && !testing::Test::HasFatalFailure(); ++e) {
            CVurlIterator context;
            context.BindToDOM(&document);
            for (int moves = pick(8); moves > 0; --moves)
                pick(2) ? context.ToChildElement() : context.ToNextElement();
            const std::string expression = random_expression(1 + pick(steps));
            compare(document, damage ? damaged(expression) : expression, context, long_walks);
        }
    }
    return long_walks;
}

} // namespace

TEST(XPathModel, AgreesOnShortExpressions) {
    compare_many(100, 150, 25, 3, 4, false);
}

TEST(XPathModel, AgreesOnDamagedExpressions) {
    compare_many(40, 400, 10, 3, 3, true);
}

TEST(XPathModel, AgreesOnExpressionsThatVisitElementsAgainAndAgain) {
    EXPECT_GT(compare_many(120, 100, 80, 2, 14, false), 10U);
}
