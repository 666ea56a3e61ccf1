// The process-wide section that all interlocked operations and all reference counts go through.
#ifndef KALTO_KERNEL_INTERLOCKED_H
#define KALTO_KERNEL_INTERLOCKED_H

#include "kernel/critical_section.h"

namespace kalto {

// Held for a few instructions at a time, as the last lock of all; no cancellation point. Several counts may
// be changed together under one of these.
class InterlockedSection : public SectionGuard {
  public:
    InterlockedSection();
};

} // namespace kalto

#endif
