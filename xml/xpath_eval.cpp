// The evaluating half of the selection engine: where the first record of an expression sends the walk, and
// where it leaves the context. The walk itself is PathMatcher's.
#include <kalto/xpath.h>

#include "xml/depth.h"
#include "xml/xpath_match.h"
#include "xml/xpath_predicate.h"
#include "xml/xpath_token.h"

#include <cstddef>
#include <new>

using namespace kalto;

static_assert(sizeof(void*) != 4 ||
                  (offsetof(CVurlXpath, m_parseList) == 4 && offsetof(CVurlXpath, m_nError) == 24 &&
                   offsetof(CVurlXpath, m_pDOM) == 40),
              "the 32-bit layout that tools rely on");
static_assert(sizeof(void*) != 4 || (sizeof(XPathAction) == 28 && sizeof(CVurlXPNode) == 12),
              "the 32-bit layout that tools rely on");

namespace {

char* new_copy(const char* text) {
    if (!text)
        return nullptr;
    const size_t size = strlen(text) + 1;
    char* copy = new (std::nothrow) char[size];
    if (copy)
        memcpy(copy, text, size);
    return copy;
}

int depth_below_root(const CVurlNode* element) {
    int depth = 0;
    for (; element && element->pParent; element = element->pParent)
        ++depth;
    return depth;
}

const XPathAction* current_record(const CVurlXPParseList& list) {
    return static_cast<const XPathAction*>(list.PeekCurrent());
}

Place place_of(const CVurlIterator& cursor) {
    return {cursor.m_pNode, depth_of(cursor)};
}

// Moves to the parent's first child; null when there is no parent.
CVurlNode* first_sibling(const CVurlIterator& cursor) {
    return cursor.m_pNode->pParent ? cursor.m_pNode->pParent->pFirstChild : nullptr;
}

void to_last_sibling(CVurlIterator& cursor) {
    while (cursor.m_pNode->pNextSibling)
        cursor.m_pNode = cursor.m_pNode->pNextSibling;
}

bool match_following(PathMatcher& matcher, CVurlIterator& cursor) {
    // An element that was removed from its parent has no following siblings any more.
    CVurlNode* context = first_sibling(cursor);
    while (context && context != cursor.m_pNode)
        context = context->pNextSibling;
    const bool matched =
        context && matcher.at_siblings(1, {context->pNextSibling, depth_of(cursor)}, nullptr);
    if (context && matcher.last())
        cursor.m_pNode = matcher.last();
    if (context)
        to_last_sibling(cursor);
    return matched;
}

// Starts the walk as the first record says, and moves the cursor to where the context is left.
bool match_first(PathMatcher& matcher, int32_t axis, CVurlIterator& cursor, const CVurlElementList& results) {
    const Place place = place_of(cursor);
    bool matched = false;
    switch (axis) {
    case kAxisAncestorOrSelf:
        matched = matcher.at(1, place);
        [[fallthrough]];
    case kAxisAncestor:
        matcher.at_ancestors(1, place);
        while (cursor.ToParentElement() != 0) {
        }
        return matched || results.m_pHead;
    case kAxisAttribute:
        return matcher.at_attribute(0, place);
    case kAxisChild:
        return matcher.at_children(0, place);
    case kAxisDescendant:
        matched = matcher.below(1, place);
        if (cursor.ToChildElement() != 0)
            to_last_sibling(cursor);
        return matched;
    case kAxisDescendantOrSelf:
        return matcher.at_subtree(1, place);
    case kAxisFollowingSibling:
        return match_following(matcher, cursor);
    case kAxisParent:
        return matcher.at(0, place);
    case kAxisPrecedingSibling:
        return matcher.at_siblings(1, {first_sibling(cursor), place.depth}, place.element);
    case kAxisSelf:
        return matcher.at(1, place);
    default:
        return false;
    }
}

} // namespace

CVurlXpath::CVurlXpath(const char* expression, CVurlElement* context, CVurlIterator* iterator,
                       CVurlElementList* results, bool firstOnly)
    : m_bFirstStep(1), m_pszExpression(new_copy(expression)), m_nError(kXPathNoError),
      m_nTokenKind(kTokenNone), m_pContext(context), m_pResults(results), m_pDOM(results->m_pDOM),
      m_pIterator(iterator), m_bFirstOnly(firstOnly) {
    if (LexAnalysis())
        populateList();
}

CVurlXpath::CVurlXpath(const char* expression, CVurlElement* context, CVurlElementList* results)
    : CVurlXpath(expression, context, nullptr, results, false) {}

CVurlXpath::CVurlXpath(const char* expression, CVurlIterator* context, CVurlElementList* results)
    : CVurlXpath(expression, context, context, results, false) {}

CVurlXpath::~CVurlXpath() {
    while (void* record = m_parseList.Pop())
        delete static_cast<XPathAction*>(record);
    delete[] m_pszExpression;
}

// The context may be a plain element, with nothing behind its two members: the walk has a cursor of its own,
// and only what the context is known to have is written back.
int CVurlXpath::populateList() {
    m_nError = kXPathNoMatch;
    m_parseList.Head();
    const XPathAction* head = current_record(m_parseList);
    if (!head)
        return 0;
    CVurlIterator cursor;
    if (m_pIterator) {
        cursor = *m_pIterator;
    } else {
        cursor.SetSubRoot(m_pContext->m_pDOM, m_pContext->m_pNode);
        set_depth(&cursor, head->absolute ? 0 : depth_below_root(cursor.m_pNode));
    }
    if (head->absolute)
        cursor.ToRootElement();
    if (!cursor.m_pNode)
        return 0;
    const XPathAction* last = static_cast<const XPathAction*>(m_parseList.PeekTail());
    PathMatcher matcher(m_parseList.head, cursor.m_pDOM, m_pResults);
    if (m_bFirstOnly != 0 && last->tokenKind != kTokenNumber)
        matcher.stop_at_first();
    if (matcher.good() && match_first(matcher, head->axis, cursor, *m_pResults))
        m_nError = kXPathNoError;
    if (!matcher.good())
        m_nError = kXPathMalformed;
    if (m_pIterator)
        *m_pIterator = cursor;
    else
        m_pContext->m_pNode = cursor.m_pNode;
    if (m_nError == kXPathNoError && last->tokenKind == kTokenNumber) {
        // A closing // behind a number has the number's kind, but no index: it leaves the list as it is.
        findIndexedNode(last);
        if (!m_pResults->m_pHead)
            m_nError = kXPathNoMatch;
    }
    return m_nError == kXPathNoError;
}

int CVurlXpath::findPathMatch(CVurlXPParseList list, CVurlIterator* cursor) {
    PathMatcher matcher(list.current, cursor->m_pDOM, m_pResults);
    return matcher.good() && matcher.at(0, place_of(*cursor));
}

int CVurlXpath::findNodes(CVurlXPParseList list, CVurlIterator* cursor) {
    PathMatcher matcher(list.current, cursor->m_pDOM, m_pResults);
    return matcher.good() && matcher.at_children(0, place_of(*cursor));
}

int CVurlXpath::findAttribMatch(CVurlXPParseList list, CVurlIterator* cursor) {
    PathMatcher matcher(list.current, cursor->m_pDOM, m_pResults);
    return matcher.good() && matcher.at_attribute(0, place_of(*cursor));
}

int CVurlXpath::DescSearch(CVurlXPParseList list, CVurlIterator* cursor) {
    PathMatcher matcher(list.current, cursor->m_pDOM, m_pResults);
    return matcher.good() && matcher.at_subtree(0, place_of(*cursor));
}

bool CVurlXpath::IsDescendant(CVurlIterator* cursor, const CVurlElement* element, bool orSelf) {
    if (!cursor->m_pNode || !element->m_pNode)
        return false;
    if (cursor->m_pNode == element->m_pNode)
        return orSelf;
    // Searched for from above: the parent links of an element that was removed still lead here.
    CVurlIterator walk;
    walk.SetSubRoot(cursor->m_pDOM, cursor->m_pNode);
    for (int step = walk.BeginTraverseHere(); step != 0; step = walk.ContinueTraverse()) {
        if (walk.m_pNode == element->m_pNode && step == 1)
            return true;
    }
    return false;
}

bool CVurlXpath::filterOnPredicateEqual(CVurlXPParseList list, CVurlIterator* cursor) {
    const XPathAction* record = current_record(list);
    return record && cursor->m_pNode && passes_equal(*cursor->m_pNode, *record);
}

bool CVurlXpath::filterOnPredicateNotEqual(CVurlXPParseList list, CVurlIterator* cursor) {
    const XPathAction* record = current_record(list);
    return record && cursor->m_pNode && passes_not_equal(*cursor->m_pNode, *record);
}

bool CVurlXpath::findIndexedNode(const XPathAction* record) {
    if (record->index == -1)
        return false;
    m_pResults->Head();
    for (int32_t position = 1; record->index < 1 || position < record->index; ++position) {
        if (m_pResults->Delete() == 0)
            return false;
    }
    // The current entry is the one to keep, and Delete makes it current again.
    while (m_pResults->Next() != 0)
        m_pResults->Delete();
    return m_pResults->m_pHead != nullptr;
}

bool CVurlXpath::nextActionIsPredicate(CVurlXPParseList list) {
    if (list.Next() == 0)
        return false;
    const int32_t kind = current_record(list)->tokenKind;
    return kind == kTokenBracket || kind == kTokenEqual || kind == kTokenNotEqual;
}
