// Ranges of pages, and what may be done with them.
#ifndef KALTO_PORTING_REGION_H
#define KALTO_PORTING_REGION_H

#include <kalto/types.h>

namespace kalto {

struct PageRange {
    uintptr_t begin;
    uintptr_t end; // 0: beyond the address space
    size_t size() const { return end - begin; }
    void* address() const { return reinterpret_cast<void*>(begin); }
};

// The whole pages that hold the range.
PageRange pages_of(const void* address, SIZE_T size);

constexpr int kUnknownProtection = -1;

// What mmap takes for a PAGE_ access; PAGE_GUARD and PAGE_NOCACHE are left out.
int protection_of(DWORD page_access);

} // namespace kalto

#endif
