// A document's life: construction, records and their free lists, and the release of everything.
//
// A record is in the tree, on its free list, or abandoned in the pool (DeleteElement leaves the element it
// stands on). Records keep their kind for as long as the pool lives, so a stale pointer never sees a record
// of another kind.
#include "xml/records.h"
#include "xml/well_formed.h"
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

using kalto::kNodeFields;
using kalto::kPointerSize;

CVurlDOM::CVurlDOM()
    : m_pfnOutput(nullptr), m_pRoot(nullptr), m_pDocBuffer(nullptr), m_pOutputCursor(nullptr), m_nDocSize(0),
      m_nDocStyle(0), m_nNodeSize(kNodeFields), m_pStringPool(nullptr), m_pObjectPool(nullptr),
      m_pFreeNodes(nullptr), m_pFreeListNodes(nullptr), m_pFreeAttributes(nullptr), m_nError(0),
      m_nXPathError(0), m_nNodeReleases(0), m_pBeforeDeleted(nullptr) {}

// Deliberate: no default on this path when the size is 0, for tools that read m_nNodeSize; AllocNode makes it
// safe.
CVurlDOM::CVurlDOM(unsigned short userDataSize) : CVurlDOM() {
    constexpr unsigned kMask = 0x10000u - kPointerSize;
    const unsigned raised = (userDataSize + kPointerSize - 1) & kMask;
    m_nNodeSize = userDataSize == 0 ? 0 : static_cast<unsigned short>(raised + kNodeFields);
}

CVurlDOM::~CVurlDOM() {
    FreeDOM(false);
}

// A size of 0 still gets the fields of a node. A size that wrapped round when user data was added gets
// nothing: its caller counts on more user data than a record could hold.
CVurlNode* CVurlDOM::AllocNode() {
    const unsigned size = m_nNodeSize == 0 ? kNodeFields : m_nNodeSize;
    if (size < kNodeFields)
        return nullptr;
    CVurlNode* node = m_pFreeNodes;
    if (node != nullptr)
        m_pFreeNodes = node->pNextSibling;
    else
        node = static_cast<CVurlNode*>(Alloc(size, &m_pObjectPool));
    if (node != nullptr)
        std::memset(static_cast<void*>(node), 0, size);
    return node;
}

CVurlAttribute* CVurlDOM::AllocAttribute() {
    CVurlAttribute* attribute = m_pFreeAttributes;
    if (attribute != nullptr)
        m_pFreeAttributes = attribute->pNext;
    else
        attribute = static_cast<CVurlAttribute*>(Alloc(sizeof(CVurlAttribute), &m_pObjectPool));
    if (attribute != nullptr)
        *attribute = CVurlAttribute{};
    return attribute;
}

CVurlListNode* CVurlDOM::AllocListNode() {
    CVurlListNode* const entry = kalto::take_list_record(this);
    if (entry == nullptr)
        return nullptr;
    entry->pIterator = new (std::nothrow) CVurlIterator;
    if (entry->pIterator == nullptr) {
        FreeListNode(entry);
        return nullptr;
    }
    return entry;
}

void CVurlDOM::FreeNode(CVurlNode* node) {
    node->pNextSibling = m_pFreeNodes;
    m_pFreeNodes = node;
    m_pBeforeDeleted = nullptr;
    ++m_nNodeReleases;
}

void CVurlDOM::FreeListNode(CVurlListNode* entry) {
    entry->pNext = m_pFreeListNodes;
    m_pFreeListNodes = entry;
}

void CVurlDOM::FreeAttribute(CVurlAttribute* attribute) {
    attribute->pNext = m_pFreeAttributes;
    m_pFreeAttributes = attribute;
}

void CVurlDOM::FreeAttributes(CVurlNode* node) {
    CVurlAttribute* const first = node->pFirstAttribute;
    if (first == nullptr)
        return;
    CVurlAttribute* last = first;
    while (last->pNext != nullptr)
        last = last->pNext;
    last->pNext = m_pFreeAttributes;
    m_pFreeAttributes = first;
    node->pFirstAttribute = nullptr;
}

// Each chain of siblings goes onto the free list in one splice, when its last node has been dealt with. A
// released node has no tag name: that is how a walk that was interrupted by a deletion (Apply) knows it.
void CVurlDOM::DeleteChildren(CVurlNode* node) {
    CVurlNode* current = node;
    bool descend = true;
    for (;;) {
        CVurlNode* next = descend ? current->pFirstChild : nullptr;
        if (next == nullptr) {
            if (current == node)
                break;
            next = current->pNextSibling;
        }
        if (next != nullptr) {
            FreeAttributes(next);
            next->pszTagName = nullptr;
            current = next;
            descend = true;
            continue;
        }
        current->pNextSibling = m_pFreeNodes;
        current = current->pParent;
        m_pFreeNodes = current->pFirstChild;
        descend = false;
    }
    if (node->pFirstChild != nullptr) {
        m_pBeforeDeleted = nullptr;
        ++m_nNodeReleases;
    }
    node->pFirstChild = nullptr;
}

// The string pool becomes one block that the text fills.
char* kalto::create_text_buffer(CVurlDOM* dom, unsigned n) {
    dom->FreeDOM(false);
    char* buffer = n == UINT_MAX ? nullptr : dom->AllocString(n + 1);
    // The zero byte, and a few more where the parser looks at whole words: they decide nothing, but are not
    // random.
    if (buffer != nullptr)
        std::memset(buffer + n, 0, 1 + std::min(dom->m_pStringPool->Remaining(), 16u));
    return buffer;
}

// The records start with as much room as the text.
char* CVurlDOM::CreateDocBuffer(unsigned n) {
    char* buffer = kalto::create_text_buffer(this, n);
    if (buffer != nullptr)
        m_pObjectPool = CVurlMemPool::Create(n);
    return buffer;
}

char* CVurlDOM::CreateDOM(const char* rootName) {
    FreeDOM(false);
    m_pRoot = AllocNode();
    if (m_pRoot == nullptr)
        return nullptr;
    char* name = AllocTagName(rootName);
    m_pRoot->pszTagName = name;
    if (name == nullptr)
        m_pRoot = nullptr;
    return name;
}

const char* CVurlDOM::GetRootTagName() const {
    return m_pRoot == nullptr ? nullptr : m_pRoot->pszTagName;
}

namespace {

void note(std::FILE* log, const char* line) {
    if (log != nullptr)
        std::fputs(line, log);
}

void release_blocks(CVurlMemPool* block, std::FILE* log, const char* line) {
    while (block != nullptr) {
        CVurlMemPool* const next = block->pNext;
        note(log, line);
        std::free(block);
        block = next;
    }
}

} // namespace

void CVurlDOM::FreeDOM(bool log) {
    std::FILE* const out = log ? std::fopen("/var/log/messages", "a+") : nullptr;
    note(out, "Inside FreeDOM function\n");
    release_blocks(m_pStringPool, out, "Deleting String Pool\n");
    release_blocks(m_pObjectPool, out, "Deleting Object Pool\n");
    if (m_pDocBuffer != nullptr) {
        note(out, "Deleting Doc Buffer\n");
        std::free(m_pDocBuffer);
        m_pDocBuffer = nullptr;
    }
    m_pFreeAttributes = nullptr;
    m_pFreeListNodes = nullptr; // lay in the released pool as well
    m_pStringPool = nullptr;
    m_pObjectPool = nullptr;
    m_pRoot = nullptr;
    m_pFreeNodes = nullptr;
    m_pBeforeDeleted = nullptr;
    note(out, "Exiting FreeDOM Function\n");
    if (out != nullptr)
        std::fclose(out);
}
