// Child processes as kernel objects.
#ifndef KALTO_KERNEL_PROCESS_H
#define KALTO_KERNEL_PROCESS_H

#include "kernel/handle_record.h"

namespace kalto {

// Waits until the child of a process record has ended; returns at once when it has been collected already.
// A cancellation point.
void wait_for_child(ProcessRecord& process);

} // namespace kalto

#endif
