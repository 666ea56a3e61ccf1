// The sizes of the records, and what the files of the document model share about them.
#ifndef KALTO_XML_RECORDS_H
#define KALTO_XML_RECORDS_H

#include <kalto/xml.h>

namespace kalto {

constexpr unsigned kPointerSize = sizeof(void*);
constexpr unsigned kNodeFields = 6 * kPointerSize; // a node record without user data

static_assert(sizeof(CVurlNode) == kNodeFields && sizeof(CVurlAttribute) == 3 * kPointerSize &&
                  sizeof(CVurlListNode) == 3 * kPointerSize,
              "records have no padding");
static_assert(sizeof(CVurlMemPool) % kPointerSize == 0, "a block's data is aligned like its header");
static_assert(kPointerSize != 4 || (sizeof(CVurlMemPool) == 12 && sizeof(CVurlElement) == 8 &&
                                    sizeof(CVurlIterator) == 20 && sizeof(CVurlListNode) == 12),
              "the 32-bit layout that tools rely on");

inline char* pool_data(CVurlMemPool* block) {
    return reinterpret_cast<char*>(block + 1);
}

// A list record without an iterator, its links null; null when memory runs out.
inline CVurlListNode* take_list_record(CVurlDOM* dom) {
    CVurlListNode* entry = dom->m_pFreeListNodes;
    if (entry != nullptr)
        dom->m_pFreeListNodes = entry->pNext;
    else
        entry = static_cast<CVurlListNode*>(dom->Alloc(sizeof(CVurlListNode), &dom->m_pObjectPool));
    if (entry != nullptr)
        *entry = {nullptr, nullptr, nullptr};
    return entry;
}

// Tells the system that memory just allocated is going to be used from its start to about its end: with huge
// pages, where there are any, that takes few page faults instead of thousands. Small pieces are left alone.
void expect_use(void* begin, size_t size);

// The error codes of the parser (m_nError).
enum ParseError : unsigned {
    kIncomplete = 1,
    kTooDeep = 2,
    kUnexpectedEndTag = 3,
    kUnterminatedTag = 5,
    kMismatchedEndTag = 6,
    kUnterminatedComment = 7,
    kUnterminatedAttribute = 8,
    kMissingValue = 10,
    kNoMemory = 11,
    kInvalidTag = 12,
    kUnterminatedCdata = 13
};

} // namespace kalto

#endif
