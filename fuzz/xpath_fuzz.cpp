// Selects in a document and compares with the model of the tests: the input is an expression, a line feed, a
// digit that chooses the element to start from, and the document.
#include "tests/xml/xpath_model.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

namespace {

void require(bool holds, const char* what) {
    if (holds)
        return;
    fprintf(stderr, "%s\n", what);
    abort();
}

// An element of the document, the more steps from the root the larger n is.
CVurlIterator element(CVurlDOM& document, unsigned n) {
    CVurlIterator it;
    it.BindToDOM(&document);
    for (; n > 0; --n) {
        if (it.ToChildElement() == 0)
            it.ToNextElement();
    }
    return it;
}

bool lies_in(const CVurlDOM& document, const CVurlNode* node) {
    while (node->pParent)
        node = node->pParent;
    return node == document.m_pRoot;
}

// The model is recursive and slow, so it sees small inputs alone.
void compare_with_model(const CVurlXpath& engine, const CVurlIterator& context, const CVurlIterator& moved) {
    XPathModel model(engine.m_parseList);
    CVurlNode* left_at = context.m_pNode;
    const int error = model.select(&left_at);
    if (model.steps >= XPathModel::kTooLong)
        return;
    require(engine.m_nError == error, "the error is not the model's");
    require(moved.m_pNode == left_at, "the context is not where the model leaves it");
    const CVurlListNode* entry = engine.m_pResults->m_pHead;
    for (const CVurlNode* result : model.results) {
        require(entry && entry->pIterator->m_pNode == result, "a result is not the model's");
        entry = entry->pNext;
    }
    require(!entry, "more results than the model's");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(data, data + size);
    const size_t end = input.find('\n');
    if (end == std::string::npos || end + 1 == size)
        return 0;
    const std::string expression = input.substr(0, end);
    CVurlDOM document;
    if (document.ReadDoc(input.c_str() + end + 2) == 0)
        return 0;
    const CVurlIterator context = element(document, static_cast<unsigned char>(input[end + 1]) % 10U);

    CVurlIterator cursor = context;
    CVurlElementList list(&document);
    const CVurlXpath engine(expression.c_str(), &cursor, &list);
    const bool parsed = engine.m_nError == 0 || engine.m_nError == 4;
    if (parsed && expression.size() < 100 && size < 1000)
        compare_with_model(engine, context, cursor);
    require(cursor.m_pNode != nullptr, "the context is lost");
    require((engine.m_nError == 0) == (list.m_nCount != 0), "the error does not fit the results");

    std::set<const CVurlNode*> seen;
    for (const CVurlListNode* entry = list.m_pHead; entry; entry = entry->pNext) {
        require(seen.insert(entry->pIterator->m_pNode).second, "an element is listed twice");
        require(lies_in(document, entry->pIterator->m_pNode), "a stray element");
    }
    require(seen.size() == list.m_nCount, "the list miscounts");

    CVurlElement plain = context;
    const CVurlIterator single = plain.selectSingleNode(expression.c_str());
    require(single.m_pNode == (list.m_pHead ? list.m_pHead->pIterator->m_pNode : nullptr), "not the first");
    require(plain.m_pNode == cursor.m_pNode, "an element and an iterator move differently");
    require(document.m_nXPathError == static_cast<unsigned>(engine.m_nError), "the document's error differs");
    return 0;
}
