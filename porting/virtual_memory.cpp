// Regions of pages. Each has an entry in a list guarded by regions_lock, so that a release needs no size.
#include "porting/failure.h"
#include "porting/region.h"

#include <cerrno>
#include <cstdlib>
#include <kalto/porting.h>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

#ifndef MAP_FIXED_NOREPLACE
#define MAP_FIXED_NOREPLACE 0x100000
#endif

namespace kalto {

PageRange pages_of(const void* address, SIZE_T size) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<uintptr_t>(address);
    if (size > UINTPTR_MAX - page - begin)
        return {begin, 0};
    return {begin & ~(page - 1), (begin + size + page - 1) & ~(page - 1)};
}

int protection_of(DWORD page_access) {
    switch (page_access & ~(PAGE_GUARD | PAGE_NOCACHE)) {
    case PAGE_NOACCESS:
        return PROT_NONE;
    case PAGE_READONLY:
        return PROT_READ;
    case PAGE_READWRITE:
    case PAGE_WRITECOPY:
        return PROT_READ | PROT_WRITE;
    case PAGE_EXECUTE:
        return PROT_EXEC;
    case PAGE_EXECUTE_READ:
        return PROT_READ | PROT_EXEC;
    case PAGE_EXECUTE_READWRITE:
    case PAGE_EXECUTE_WRITECOPY:
        return PROT_READ | PROT_WRITE | PROT_EXEC;
    default:
        return kUnknownProtection;
    }
}

} // namespace kalto

using namespace kalto;

namespace {

struct Region {
    uintptr_t begin;
    uintptr_t end;
    Region* next;
};

Region* first_region = nullptr;
std::mutex regions_lock;

LPVOID reserve(const PageRange& pages, int protection) {
    auto* const region = static_cast<Region*>(std::malloc(sizeof(Region)));
    if (region == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID{});
    const int place = pages.begin != 0 ? MAP_FIXED_NOREPLACE : 0;
    void* const memory = mmap(pages.address(), pages.size(), protection,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | place, -1, 0);
    const bool elsewhere = memory != MAP_FAILED && place != 0 && memory != pages.address();
    if (elsewhere) // a kernel that takes the address for a hint
        munmap(memory, pages.size());
    if (memory == MAP_FAILED || elsewhere) {
        std::free(region);
        return fail(place != 0 ? DWORD{ERROR_INVALID_ADDRESS} : DWORD{ERROR_NOT_ENOUGH_MEMORY}, LPVOID{});
    }
    const auto begin = reinterpret_cast<uintptr_t>(memory);
    const std::lock_guard<std::mutex> held(regions_lock);
    *region = {begin, begin + pages.size(), first_region};
    first_region = region;
    return memory;
}

// The link to the region that the pages are in; the one to null when there is none. Under the lock.
Region** find_region(const PageRange& pages) {
    Region** at = &first_region;
    while (*at != nullptr && (pages.begin < (*at)->begin || pages.end > (*at)->end))
        at = &(*at)->next;
    return at;
}

LPVOID commit(const PageRange& pages, int protection) {
    const std::lock_guard<std::mutex> held(regions_lock);
    if (*find_region(pages) == nullptr)
        return fail(ERROR_INVALID_PARAMETER, LPVOID{});
    if (mprotect(pages.address(), pages.size(), protection) != 0)
        return fail(static_cast<DWORD>(errno), LPVOID{});
    return pages.address();
}

bool release(Region** at) {
    Region* const region = *at;
    if (munmap(reinterpret_cast<void*>(region->begin), region->end - region->begin) != 0)
        return false;
    *at = region->next;
    std::free(region);
    return true;
}

bool decommit(const PageRange& pages) {
    return mmap(pages.address(), pages.size(), PROT_NONE,
                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0) != MAP_FAILED;
}

} // namespace

LPVOID VirtualAlloc(LPVOID lpAddress, SIZE_T dwSize, DWORD flAllocationType, DWORD flProtect) {
    const DWORD wanted = flAllocationType & (MEM_COMMIT | MEM_RESERVE);
    const int protection = protection_of(flProtect);
    if (dwSize == 0 || wanted == 0 || (flAllocationType & ~(wanted | MEM_TOP_DOWN)) != 0 ||
        protection == kUnknownProtection)
        return fail(ERROR_INVALID_PARAMETER, LPVOID{});
    const PageRange pages = pages_of(lpAddress, dwSize);
    if (pages.end == 0)
        return fail(ERROR_NOT_ENOUGH_MEMORY, LPVOID{});
    if (lpAddress != nullptr && wanted == MEM_COMMIT)
        return commit(pages, protection);
    return reserve(pages, (wanted & MEM_COMMIT) != 0 ? protection : PROT_NONE);
}

BOOL VirtualFree(LPVOID lpAddress, SIZE_T dwSize, DWORD dwFreeType) {
    PageRange pages = pages_of(lpAddress, dwSize != 0 ? dwSize : 1);
    const std::lock_guard<std::mutex> held(regions_lock);
    Region** const at = find_region(pages);
    const bool whole =
        *at != nullptr && dwSize == 0 && reinterpret_cast<uintptr_t>(lpAddress) == (*at)->begin;
    bool done = false;
    if (dwFreeType == MEM_RELEASE) {
        done = whole && release(at);
    } else if (dwFreeType == MEM_DECOMMIT && *at != nullptr && (whole || dwSize != 0)) {
        if (whole)
            pages.end = (*at)->end;
        done = decommit(pages);
    }
    return done ? TRUE : fail(ERROR_INVALID_PARAMETER, FALSE);
}
