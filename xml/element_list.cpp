// The result of a selection: a chain of entries in the order of adding, every element once.
#include "xml/node_index.h"
#include <kalto/xml.h>

using kalto::NodeIndex;

namespace {

constexpr unsigned kIndexFrom = 16; // entries; shorter lists are searched faster than an index is built

NodeIndex* index_of(const CVurlElementList& list) {
    return static_cast<NodeIndex*>(list.m_pIndex);
}

void drop_index(CVurlElementList* list) {
    NodeIndex::destroy(index_of(*list));
    list->m_pIndex = nullptr;
}

// Without memory for an index the list is searched from the head, as short ones are.
void build_index(CVurlElementList* list) {
    NodeIndex* index = NodeIndex::create(2 * size_t{list->m_nCount});
    list->m_pIndex = index;
    for (const CVurlListNode* entry = list->m_pHead; index != nullptr && entry != nullptr;
         entry = entry->pNext)
        index->add(entry->pIterator->m_pNode);
}

bool holds(const CVurlElementList& list, const CVurlNode* node) {
    if (list.m_pIndex != nullptr)
        return index_of(list)->contains(node);
    for (const CVurlListNode* entry = list.m_pHead; entry != nullptr; entry = entry->pNext) {
        if (entry->pIterator->m_pNode == node)
            return true;
    }
    return false;
}

// An entry owns its iterator; the record goes back to the document.
void release(CVurlDOM* dom, CVurlListNode* entry) {
    delete entry->pIterator;
    entry->pIterator = nullptr;
    dom->FreeListNode(entry);
}

} // namespace

CVurlElementList::CVurlElementList(CVurlDOM* dom)
    : m_pDOM(dom), m_pHead(nullptr), m_pTail(nullptr), m_pCurrent(nullptr), m_nCount(0), m_pIndex(nullptr) {}

CVurlElementList::~CVurlElementList() {
    for (CVurlListNode* entry = m_pHead; entry != nullptr; entry = entry->pNext) {
        delete entry->pIterator;
        entry->pIterator = nullptr;
    }
    if (m_nCount != 0) {
        m_pTail->pNext = m_pDOM->m_pFreeListNodes;
        m_pDOM->m_pFreeListNodes = m_pHead;
    }
    drop_index(this);
}

int CVurlElementList::Add(CVurlIterator* it) {
    CVurlListNode* entry = m_pDOM->AllocListNode();
    if (entry == nullptr)
        return 0;
    *entry->pIterator = *it;
    if (m_nCount == 0) {
        m_pHead = m_pTail = m_pCurrent = entry;
        m_nCount = 1;
        return 1;
    }
    if (holds(*this, it->m_pNode)) {
        release(m_pDOM, entry);
        return 1;
    }
    if (m_pIndex != nullptr && !index_of(*this)->add(it->m_pNode))
        drop_index(this);
    entry->pPrev = m_pTail;
    m_pTail->pNext = entry;
    m_pTail = entry;
    ++m_nCount;
    if (m_nCount >= kIndexFrom && m_pIndex == nullptr)
        build_index(this);
    return 1;
}

void CVurlElementList::Head() {
    m_pCurrent = m_pHead;
}

int CVurlElementList::Next() {
    if (m_pCurrent == nullptr)
        return 0;
    m_pCurrent = m_pCurrent->pNext;
    return m_pCurrent != nullptr;
}

int CVurlElementList::AtHead() const {
    return m_nCount != 0 && m_pCurrent != nullptr && m_pCurrent->pPrev == nullptr;
}

int CVurlElementList::Previous() {
    if (m_nCount < 2 || m_pCurrent == nullptr || AtHead() != 0)
        return 0;
    m_pCurrent = m_pCurrent->pPrev;
    return 1;
}

int CVurlElementList::nextNode(CVurlIterator* out) {
    if (m_pCurrent == nullptr)
        return 0;
    peekNode(out);
    Next();
    return 1;
}

// Deliberate: the result says whether out is null; callers ignore it.
int CVurlElementList::peekNode(CVurlIterator* out) const {
    if (out != nullptr && m_pCurrent != nullptr)
        *out = *m_pCurrent->pIterator;
    return out == nullptr;
}

int CVurlElementList::Delete() {
    CVurlListNode* const entry = m_pCurrent;
    if (m_nCount == 0 || entry == nullptr)
        return 0;
    CVurlListNode* const before = entry->pPrev;
    CVurlListNode* const after = entry->pNext;
    if (m_pIndex != nullptr)
        index_of(*this)->remove(entry->pIterator->m_pNode);
    (before == nullptr ? m_pHead : before->pNext) = after;
    (after == nullptr ? m_pTail : after->pPrev) = before;
    m_pCurrent = before == nullptr ? after : before;
    release(m_pDOM, entry);
    --m_nCount;
    return 1;
}
