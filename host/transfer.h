#ifndef KALTO_HOST_TRANSFER_H
#define KALTO_HOST_TRANSFER_H

#include <cstddef>

namespace kalto {

// Each transfers up to size bytes at the file's position, goes on after an interruption, adds what was
// transferred to *done, and returns 0 or the errno value of the failure. Reading ends at the end of the file,
// or early with what a pipe or terminal has; writing returns 0 only when everything was written.
int read_some(int descriptor, void* buffer, size_t size, size_t* done);
int write_all(int descriptor, const void* data, size_t size, size_t* done);

} // namespace kalto

#endif
