// Heaps that are given back as a whole.
#ifndef KALTO_PORTING_PRIVATE_HEAP_H
#define KALTO_PORTING_PRIVATE_HEAP_H

#include <cstddef>
#include <kalto/types.h>

namespace kalto {

// Whether HeapCreate made it and HeapDestroy has not ended it. The calls below are for such heaps.
bool is_private_heap(HANDLE heap);

// As the calls of <kalto/porting.h>; null when memory is out.
void* allocate_in(HANDLE heap, std::size_t size, bool zeroed);
void* reallocate_in(HANDLE heap, void* block, std::size_t size, bool zeroed, bool in_place);
void free_in(void* block);
std::size_t size_in(const void* block);

} // namespace kalto

#endif
