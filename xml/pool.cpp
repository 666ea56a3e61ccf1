// The pools that every record and string of a document is carved from.
//
// Invariants:
// 1. A block's nUsed never exceeds its nSize; the bytes below nUsed are handed out, each once.
// 2. A block's data keeps the alignment of a record: the header is a multiple of the pointer size, and the
//    object pool is only asked for such multiples. Strings take their exact length.
#include "xml/records.h"
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <kalto/xml.h>
#include <sys/mman.h>
#include <unistd.h>

using kalto::pool_data;

namespace kalto {

void expect_use(void* begin, size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr size_t kLarge = 4u << 20;
    if (size < kLarge)
        return;
    const int saved_errno = errno;
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t skip = (page - reinterpret_cast<size_t>(begin) % page) % page;
    madvise(static_cast<char*>(begin) + skip, size - skip, MADV_HUGEPAGE); // only advice: it may fail
    errno = saved_errno;
#endif
}

} // namespace kalto

CVurlMemPool* CVurlMemPool::Create(unsigned n) {
    constexpr unsigned kUnit = 256;
    if (n > UINT_MAX - (kUnit - 1) || n > SIZE_MAX - sizeof(CVurlMemPool) - kUnit)
        return nullptr;
    const unsigned size = (n + kUnit - 1) & ~(kUnit - 1);
    auto* block = static_cast<CVurlMemPool*>(std::malloc(sizeof(CVurlMemPool) + size));
    if (block == nullptr)
        return nullptr;
    kalto::expect_use(block, sizeof(CVurlMemPool) + size);
    block->nSize = size;
    block->nUsed = 0;
    block->pNext = nullptr;
    return block;
}

namespace {

// Deliberate: half the only block, later 1.5 times the newest one. The first block of a document holds its
// text exactly, so the next one need not be as large.
unsigned next_block_size(const CVurlMemPool* head) {
    if (head == nullptr)
        return 256;
    if (head->pNext == nullptr)
        return head->nSize / 2;
    return head->nSize * 3 / 2;
}

unsigned room_in(const CVurlMemPool* block) {
    return block->nSize - block->nUsed;
}

char* carve(CVurlMemPool* block, unsigned n) {
    char* data = pool_data(block) + block->nUsed;
    block->nUsed += n;
    return data;
}

// Most values are shorter than the calls that measure and copy them are long: those are copied until they
// end. Null for others, and where the block has no room for them.
char* copy_short(CVurlMemPool* block, const char* s) {
    constexpr unsigned kShort = 16;
    if (block == nullptr || room_in(block) < kShort)
        return nullptr;
    char* const copy = pool_data(block) + block->nUsed;
    for (unsigned i = 0; i < kShort; ++i) {
        copy[i] = s[i];
        if (s[i] == '\0') {
            block->nUsed += i + 1;
            return copy;
        }
    }
    return nullptr;
}

} // namespace

unsigned CVurlMemPool::Remaining() const {
    return room_in(this);
}

void* CVurlDOM::Alloc(unsigned n, CVurlMemPool** pool) {
    for (CVurlMemPool* block = *pool; block != nullptr; block = block->pNext) {
        if (room_in(block) >= n)
            return carve(block, n);
    }
    const unsigned size = next_block_size(*pool);
    CVurlMemPool* block = CVurlMemPool::Create(size < n ? n : size);
    if (block == nullptr)
        return nullptr;
    block->pNext = *pool;
    *pool = block;
    return carve(block, n);
}

char* CVurlDOM::AllocString(unsigned n) {
    return static_cast<char*>(Alloc(n, &m_pStringPool));
}

char* CVurlDOM::AllocString(const char* s) {
    if (s == nullptr)
        return nullptr;
    if (char* const copy = copy_short(m_pStringPool, s))
        return copy;
    const size_t size = std::strlen(s) + 1;
    if (size > UINT_MAX)
        return nullptr;
    char* copy = AllocString(static_cast<unsigned>(size));
    if (copy != nullptr)
        std::memcpy(copy, s, size);
    return copy;
}

char* CVurlDOM::AllocTagName(const char* name) {
    return AllocString(name);
}

char* CVurlDOM::AllocAttributeName(const char* name) {
    return AllocString(name);
}
