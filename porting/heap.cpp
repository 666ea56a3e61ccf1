// Heap and local memory on the C library's allocator.
//
// A block has a note at the very end of its usable memory, which says what size was asked for: the address
// of the block stays malloc's, because sources free one family's blocks with another family's call. A block
// without a note (somebody else's) has the size that it has room for. No locks but the allocator's own.
#include "porting/heap.h"

#include "porting/failure.h"
#include "porting/private_heap.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <kalto/porting.h>
#include <malloc.h>

namespace kalto {

namespace {

struct Note {
    std::size_t size;
    std::size_t check;
};

constexpr std::size_t kNoSize = SIZE_MAX;

std::size_t check_of(const void* block, std::size_t size) {
    return reinterpret_cast<uintptr_t>(block) ^ size ^ 0x4B616C74u;
}

// Kept out of line: what the compiler knows about the size of the block does not include the note's place.
__attribute__((noinline)) char* note_of(void* block) {
    return static_cast<char*>(block) + malloc_usable_size(block) - sizeof(Note);
}

void* with_note(void* block, std::size_t size) {
    if (block != nullptr) {
        const Note note = {size, check_of(block, size)};
        std::memcpy(note_of(block), &note, sizeof note);
    }
    return block;
}

std::size_t size_of(void* block) {
    const std::size_t usable = malloc_usable_size(block);
    Note note = {};
    if (usable < sizeof note)
        return usable;
    std::memcpy(&note, note_of(block), sizeof note);
    const bool ours = note.check == check_of(block, note.size) && note.size <= usable - sizeof note;
    return ours ? note.size : usable;
}

void* reallocate(void* block, std::size_t size, bool zeroed) {
    if (size > SIZE_MAX - sizeof(Note))
        return nullptr;
    const std::size_t before = size_of(block);
    void* const moved = std::realloc(block, size + sizeof(Note));
    if (moved != nullptr && zeroed && size > before)
        std::memset(static_cast<char*>(moved) + before, 0, size - before);
    return with_note(moved, size);
}

// Where it is, or not at all.
void* resize(void* block, std::size_t size, bool zeroed) {
    if (size > SIZE_MAX - sizeof(Note) || size + sizeof(Note) > malloc_usable_size(block))
        return nullptr;
    const std::size_t before = size_of(block);
    if (zeroed && size > before)
        std::memset(static_cast<char*>(block) + before, 0, size - before);
    return with_note(block, size);
}

} // namespace

void* allocate(std::size_t size, bool zeroed) {
    if (size > SIZE_MAX - sizeof(Note))
        return nullptr;
    const std::size_t whole = size + sizeof(Note);
    return with_note(zeroed ? std::calloc(1, whole) : std::malloc(whole), size);
}

} // namespace kalto

using namespace kalto;

HANDLE GetProcessHeap(void) {
    static char heap; // its address is as good as any
    return &heap;
}

LPVOID HeapAlloc(HANDLE hHeap, DWORD dwFlags, SIZE_T dwBytes) {
    const bool zeroed = (dwFlags & HEAP_ZERO_MEMORY) != 0;
    return is_private_heap(hHeap) ? allocate_in(hHeap, dwBytes, zeroed) : allocate(dwBytes, zeroed);
}

LPVOID HeapReAlloc(HANDLE hHeap, DWORD dwFlags, LPVOID lpMem, SIZE_T dwBytes) {
    if (lpMem == nullptr)
        return nullptr;
    const bool zeroed = (dwFlags & HEAP_ZERO_MEMORY) != 0;
    const bool in_place = (dwFlags & HEAP_REALLOC_IN_PLACE_ONLY) != 0;
    if (is_private_heap(hHeap))
        return reallocate_in(hHeap, lpMem, dwBytes, zeroed, in_place);
    return in_place ? resize(lpMem, dwBytes, zeroed) : reallocate(lpMem, dwBytes, zeroed);
}

BOOL HeapFree(HANDLE hHeap, DWORD /*dwFlags*/, LPVOID lpMem) {
    if (lpMem != nullptr && is_private_heap(hHeap))
        free_in(lpMem);
    else
        std::free(lpMem);
    return TRUE;
}

SIZE_T HeapSize(HANDLE hHeap, DWORD /*dwFlags*/, LPCVOID lpMem) {
    if (lpMem == nullptr)
        return kNoSize;
    return is_private_heap(hHeap) ? size_in(lpMem) : size_of(const_cast<LPVOID>(lpMem));
}

HLOCAL LocalAlloc(UINT uFlags, SIZE_T uBytes) {
    HLOCAL block = allocate(uBytes, (uFlags & LMEM_ZEROINIT) != 0);
    return block != nullptr ? block : fail(ERROR_NOT_ENOUGH_MEMORY, block);
}

HLOCAL LocalReAlloc(HLOCAL hMem, SIZE_T uBytes, UINT uFlags) {
    if (hMem == nullptr)
        return fail(ERROR_INVALID_HANDLE, hMem);
    HLOCAL block = reallocate(hMem, uBytes, (uFlags & LMEM_ZEROINIT) != 0);
    return block != nullptr ? block : fail(ERROR_NOT_ENOUGH_MEMORY, block);
}

SIZE_T LocalSize(HLOCAL hMem) {
    return hMem == nullptr ? 0 : size_of(hMem);
}
