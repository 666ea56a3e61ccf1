// One wait on one object.
#ifndef KALTO_KERNEL_WAIT_SINGLE_H
#define KALTO_KERNEL_WAIT_SINGLE_H

#include "kernel/handle_record.h"

namespace kalto {

// Can the handle be waited for at all? Looks at its type alone.
bool waitable(HANDLE handle);

// KaltoWaitForSingleObject on a waitable record.
DWORD wait_for(HandleRecord* record, DWORD milliseconds);

} // namespace kalto

#endif
