// HeapCreate and HeapDestroy. The blocks of a heap are in a list, by which they are released with it: each
// has a header before it. One lock guards the list of heaps and those of their blocks.
#include "porting/private_heap.h"

#include "porting/failure.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <kalto/porting.h>
#include <malloc.h>
#include <mutex>
#include <utility>

namespace kalto {

namespace {

struct alignas(std::max_align_t) Block {
    Block* next;
    Block* previous;
    std::size_t size;
};

// A ring: the heap itself is a block without content.
struct Heap {
    Block blocks;
    Heap* next;
};

Heap* first_heap = nullptr;
std::mutex heaps_lock;

Heap** find_heap(HANDLE handle) { // under the lock; the link to null when there is none
    Heap** at = &first_heap;
    while (*at != nullptr && *at != handle)
        at = &(*at)->next;
    return at;
}

Block* header_of(const void* block) {
    return const_cast<Block*>(static_cast<const Block*>(block)) - 1;
}

void link_behind(Block* place, Block* block) {
    block->next = place->next;
    block->previous = place;
    place->next->previous = block;
    place->next = block;
}

void unlink(Block* block) {
    block->previous->next = block->next;
    block->next->previous = block->previous;
}

constexpr std::size_t kLargest = SIZE_MAX - sizeof(Block);

} // namespace

bool is_private_heap(HANDLE heap) {
    if (heap == nullptr || heap == GetProcessHeap())
        return false;
    const std::lock_guard<std::mutex> held(heaps_lock);
    return *find_heap(heap) != nullptr;
}

void* allocate_in(HANDLE heap, std::size_t size, bool zeroed) {
    if (size > kLargest)
        return nullptr;
    const std::size_t whole = size + sizeof(Block);
    auto* const block = static_cast<Block*>(zeroed ? std::calloc(1, whole) : std::malloc(whole));
    if (block == nullptr)
        return nullptr;
    block->size = size;
    const std::lock_guard<std::mutex> held(heaps_lock);
    link_behind(&static_cast<Heap*>(heap)->blocks, block);
    return block + 1;
}

void* reallocate_in(HANDLE heap, void* block, std::size_t size, bool zeroed, bool in_place) {
    if (size > kLargest)
        return nullptr;
    if (in_place && size + sizeof(Block) > malloc_usable_size(header_of(block)))
        return nullptr;
    const std::lock_guard<std::mutex> held(heaps_lock);
    Block* const old = header_of(block);
    const std::size_t before = old->size;
    unlink(old);
    auto* moved = in_place ? old : static_cast<Block*>(std::realloc(old, size + sizeof(Block)));
    link_behind(&static_cast<Heap*>(heap)->blocks, moved != nullptr ? moved : old);
    if (moved == nullptr)
        return nullptr;
    if (zeroed && size > before)
        std::memset(reinterpret_cast<char*>(moved + 1) + before, 0, size - before);
    moved->size = size;
    return moved + 1;
}

void free_in(void* block) {
    Block* const header = header_of(block);
    {
        const std::lock_guard<std::mutex> held(heaps_lock);
        unlink(header);
    }
    std::free(header);
}

std::size_t size_in(const void* block) {
    return header_of(block)->size;
}

} // namespace kalto

using namespace kalto;

HANDLE HeapCreate(DWORD /*flOptions*/, SIZE_T /*dwInitialSize*/, SIZE_T /*dwMaximumSize*/) {
    auto* const heap = static_cast<Heap*>(std::calloc(1, sizeof(Heap)));
    if (heap == nullptr)
        return fail(ERROR_NOT_ENOUGH_MEMORY, HANDLE{});
    heap->blocks.next = heap->blocks.previous = &heap->blocks;
    const std::lock_guard<std::mutex> held(heaps_lock);
    heap->next = first_heap;
    return first_heap = heap;
}

BOOL HeapDestroy(HANDLE hHeap) {
    Heap* heap = nullptr;
    {
        const std::lock_guard<std::mutex> held(heaps_lock);
        Heap** const at = find_heap(hHeap);
        heap = *at;
        if (heap != nullptr)
            *at = heap->next;
    }
    if (heap == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    for (Block* block = heap->blocks.next; block != &heap->blocks;)
        std::free(std::exchange(block, block->next));
    std::free(heap);
    return TRUE;
}
