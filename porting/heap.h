// The one heap, for the calls of this folder that hand out blocks.
#ifndef KALTO_PORTING_HEAP_H
#define KALTO_PORTING_HEAP_H

#include <cstddef>

namespace kalto {

// A block to be given back with free, LocalFree or HeapFree, whose size HeapSize knows; null when memory is
// out.
void* allocate(std::size_t size, bool zeroed);

} // namespace kalto

#endif
