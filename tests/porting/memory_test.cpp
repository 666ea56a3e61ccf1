#include <gtest/gtest.h>
#include <kalto/porting.h>
#include <unistd.h>

namespace {

TEST(Heap, KnowsTheSizeThatWasAskedForAndZeroesWhatIsNew) {
    HANDLE heap = GetProcessHeap();
    for (SIZE_T size : {SIZE_T{0}, SIZE_T{1}, SIZE_T{13}, SIZE_T{4096}, SIZE_T{300001}}) {
        auto* block = static_cast<BYTE*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, size));
        ASSERT_NE(nullptr, block);
        EXPECT_EQ(size, HeapSize(heap, 0, block));
        memset(block, 7, size);
        block = static_cast<BYTE*>(HeapReAlloc(heap, HEAP_ZERO_MEMORY, block, size + 5000));
        ASSERT_NE(nullptr, block);
        EXPECT_EQ(size + 5000, HeapSize(heap, 0, block));
        for (SIZE_T i = 0; i < size + 5000; ++i)
            ASSERT_EQ(i < size ? 7 : 0, block[i]) << i;
        EXPECT_EQ(block, HeapReAlloc(heap, HEAP_REALLOC_IN_PLACE_ONLY, block, 3));
        EXPECT_EQ(3u, HeapSize(heap, 0, block));
        EXPECT_EQ(nullptr, LocalFree(block)); // as sources mix the families
    }
    EXPECT_EQ(nullptr, HeapAlloc(heap, 0, SIZE_MAX));
    EXPECT_EQ(static_cast<SIZE_T>(-1), HeapSize(heap, 0, nullptr));
    EXPECT_EQ(TRUE, HeapFree(heap, 0, nullptr));
}

TEST(Heap, LocalAllocSaysThatMemoryIsOut) {
    SetLastError(0);
    EXPECT_EQ(nullptr, LocalAlloc(LPTR, SIZE_MAX - 4));
    EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_MEMORY}, GetLastError());
    HLOCAL block = LocalReAlloc(LocalAlloc(LMEM_FIXED, 1), 20, LMEM_ZEROINIT);
    EXPECT_EQ(20u, LocalSize(block));
    HeapFree(GetProcessHeap(), 0, block);
}

TEST(VirtualMemory, IsReservedCommittedEmptiedAndReleasedByRegions) {
    const auto page = static_cast<SIZE_T>(sysconf(_SC_PAGESIZE));
    auto* region = static_cast<BYTE*>(VirtualAlloc(nullptr, 4 * page, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(nullptr, region);
    EXPECT_EQ(region + page, VirtualAlloc(region + page + 5, 1, MEM_COMMIT, PAGE_READWRITE));
    EXPECT_EQ(0, region[page]);
    region[2 * page - 1] = 9;
    EXPECT_EQ(nullptr, VirtualAlloc(region + 3 * page, 2 * page, MEM_COMMIT, PAGE_READWRITE)); // beyond it
    EXPECT_EQ(TRUE, VirtualFree(region + page, page, MEM_DECOMMIT));
    EXPECT_EQ(region, VirtualAlloc(region, 4 * page, MEM_COMMIT, PAGE_READWRITE));
    EXPECT_EQ(0, region[2 * page - 1]);
    EXPECT_EQ(FALSE, VirtualFree(region + page, 0, MEM_RELEASE));
    EXPECT_EQ(FALSE, VirtualFree(region, page, MEM_RELEASE));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_EQ(TRUE, VirtualFree(region, 0, MEM_RELEASE));
    EXPECT_EQ(FALSE, VirtualFree(region, 0, MEM_RELEASE));
}

TEST(VirtualMemory, RefusesWhatItCannotDo) {
    const struct {
        SIZE_T size;
        DWORD type, protect, error;
    } cases[] = {
        {0, MEM_COMMIT, PAGE_READWRITE, ERROR_INVALID_PARAMETER},
        {1, 0, PAGE_READWRITE, ERROR_INVALID_PARAMETER},
        {1, MEM_COMMIT | 1, PAGE_READWRITE, ERROR_INVALID_PARAMETER},
        {1, MEM_COMMIT, 0, ERROR_INVALID_PARAMETER},
        {SIZE_MAX, MEM_COMMIT, PAGE_READWRITE, ERROR_NOT_ENOUGH_MEMORY},
        {SIZE_MAX - 0x10000, MEM_COMMIT, PAGE_READWRITE, ERROR_NOT_ENOUGH_MEMORY},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(nullptr, VirtualAlloc(nullptr, c.size, c.type, c.protect));
        EXPECT_EQ(c.error, GetLastError());
    }
}

} // namespace
