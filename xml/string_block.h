// Which bytes behind a string of a document may be read.
#ifndef KALTO_XML_STRING_BLOCK_H
#define KALTO_XML_STRING_BLOCK_H

#include "xml/chunk.h"
#include <algorithm>
#include <cstdint>
#include <kalto/xml.h>

namespace kalto {

// The pool block in which the strings of a document lie just now: what stands behind a string in it may be
// read, so that many bytes can be looked at at once. Strings of other blocks follow one another, too. A
// string that lies in no block is looked at byte by byte.
class StringBlock {
  public:
    explicit StringBlock(const CVurlMemPool* pool) : pool_(pool) {
        for (; pool != nullptr; pool = pool->pNext) {
            const auto begin = reinterpret_cast<std::uintptr_t>(pool + 1);
            lowest_ = std::min(lowest_, begin);
            highest_ = std::max(highest_, begin + pool->nSize);
        }
    }
    // A chunk and one more byte may be read at p.
    KALTO_HOT bool holds_chunk(const char* p) {
        return offset(p) < places_ || (lies_in_pool(p) && move_to(p));
    }
    // Two blocks of bytes may be read at p.
    bool holds_blocks(const char* p) {
        return holds_chunk(p) && places_ - offset(p) > 2 * kBlockSize - Chunk::kSize;
    }

  private:
    std::uintptr_t offset(const char* p) const { return reinterpret_cast<std::uintptr_t>(p) - begin_; }
    // Or between two blocks of the pool.
    bool lies_in_pool(const char* p) const {
        return reinterpret_cast<std::uintptr_t>(p) - lowest_ < highest_ - lowest_;
    }
    KALTO_HOT bool move_to(const char* p) {
        const CVurlMemPool* const block = block_of(pool_, p);
        if (block == nullptr)
            return false;
        begin_ = reinterpret_cast<std::uintptr_t>(block + 1);
        places_ = block->nSize <= Chunk::kSize ? 0 : block->nSize - Chunk::kSize;
        return offset(p) < places_;
    }
    [[gnu::noinline]] static const CVurlMemPool* block_of(const CVurlMemPool* pool, const char* p) {
        while (pool != nullptr &&
               reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(pool + 1) >=
                   pool->nSize)
            pool = pool->pNext;
        return pool;
    }

    const CVurlMemPool* pool_;
    std::uintptr_t lowest_ = UINTPTR_MAX; // of the bytes of all blocks
    std::uintptr_t highest_ = 0;
    std::uintptr_t begin_ = 0;
    std::uintptr_t places_ = 0;
};

} // namespace kalto

#endif
