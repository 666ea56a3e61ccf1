// The moment at which a wait gives up, on the wall clock.
#ifndef KALTO_KERNEL_DEADLINE_H
#define KALTO_KERNEL_DEADLINE_H

#include <kalto/kernel.h>
#include <time.h>

namespace kalto {

class Deadline {
  public:
    // INFINITE: none.
    explicit Deadline(DWORD milliseconds) : endless_(milliseconds == INFINITE) {
        if (!endless_)
            GetTimeOutTime(&moment_, milliseconds);
    }
    const timespec* get() const { return endless_ ? nullptr : &moment_; }

  private:
    const bool endless_;
    timespec moment_{};
};

} // namespace kalto

#endif
