// One wait on one object.
#ifndef KALTO_KERNEL_WAIT_SINGLE_H
#define KALTO_KERNEL_WAIT_SINGLE_H

#include "kernel/handle_record.h"

namespace kalto {

// Can the handle be waited for at all?
bool waitable(HANDLE handle);

// KaltoWaitForSingleObject, but no cancellation point unless it blocks.
DWORD wait_for(HANDLE handle, DWORD milliseconds);

} // namespace kalto

#endif
