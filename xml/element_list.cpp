// The result of a selection: a chain of entries in the order of adding, every element once. The entries'
// iterators lie in blocks that the list owns, so that a long list costs few allocations.
#include "xml/element_list.h"
#include "xml/node_index.h"
#include "xml/records.h"
#include <cstdlib>
#include <kalto/xml.h>
#include <new>

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

constexpr unsigned kSmallestBlock = 4; // iterators
constexpr unsigned kLargestBlock = 512;

struct IteratorBlock {
    IteratorBlock* older;
    unsigned used;
    unsigned capacity;
    // followed by the iterators
};
static_assert(sizeof(IteratorBlock) % alignof(CVurlIterator) == 0, "the iterators are aligned");

IteratorBlock* newest_block(const CVurlElementList& list) {
    return static_cast<IteratorBlock*>(list.m_pBlocks);
}

bool add_block(CVurlElementList* list) {
    IteratorBlock* const older = newest_block(*list);
    unsigned capacity = older == nullptr ? kSmallestBlock : older->capacity * 2;
    if (capacity > kLargestBlock)
        capacity = kLargestBlock;
    void* const memory = std::malloc(sizeof(IteratorBlock) + capacity * sizeof(CVurlIterator));
    if (memory != nullptr)
        list->m_pBlocks = new (memory) IteratorBlock{older, 0, capacity};
    return memory != nullptr;
}

// A copy of it, at no place of a traversal.
CVurlIterator* new_iterator(CVurlElementList* list, const CVurlIterator& it) {
    IteratorBlock* block = newest_block(*list);
    if (block == nullptr || block->used == block->capacity) {
        if (!add_block(list))
            return nullptr;
        block = newest_block(*list);
    }
    auto* const copy = new (reinterpret_cast<CVurlIterator*>(block + 1) + block->used++) CVurlIterator(it);
    copy->m_nTraverseBase = 0;
    copy->m_nTraverseHigh = 0;
    copy->m_bDescend = 0;
    return copy;
}

} // namespace

CVurlElementList::CVurlElementList(CVurlDOM* dom)
    : m_pDOM(dom), m_pHead(nullptr), m_pTail(nullptr), m_pCurrent(nullptr), m_nCount(0), m_pIndex(nullptr),
      m_pBlocks(nullptr) {}

CVurlElementList::~CVurlElementList() {
    if (m_nCount != 0) {
        m_pTail->pNext = m_pDOM->m_pFreeListNodes;
        m_pDOM->m_pFreeListNodes = m_pHead;
    }
    for (IteratorBlock* block = newest_block(*this); block != nullptr;) {
        IteratorBlock* const older = block->older;
        std::free(block);
        block = older;
    }
    drop_index(this);
}

bool kalto::append(CVurlElementList* list, const CVurlIterator& it) {
    CVurlListNode* const entry = take_list_record(list->m_pDOM);
    if (entry == nullptr)
        return false;
    entry->pIterator = new_iterator(list, it);
    if (entry->pIterator == nullptr) {
        list->m_pDOM->FreeListNode(entry);
        return false;
    }
    entry->pPrev = list->m_pTail;
    if (list->m_nCount++ == 0)
        list->m_pHead = list->m_pCurrent = entry;
    else
        list->m_pTail->pNext = entry;
    list->m_pTail = entry;
    if (list->m_pIndex != nullptr && !index_of(*list)->add(it.m_pNode))
        drop_index(list);
    return true;
}

int CVurlElementList::Add(CVurlIterator* it) {
    if (m_pIndex == nullptr && m_nCount >= kIndexFrom)
        build_index(this);
    if (holds(*this, it->m_pNode))
        return 1;
    return kalto::append(this, *it);
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
    m_pDOM->FreeListNode(entry);
    --m_nCount;
    return 1;
}
