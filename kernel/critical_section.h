// Critical sections for the library's own use.
#ifndef KALTO_KERNEL_CRITICAL_SECTION_H
#define KALTO_KERNEL_CRITICAL_SECTION_H

#include <kalto/kernel.h>

namespace kalto {

// EnterCriticalSection, but no cancellation point.
void enter_uncancelled(CRITICAL_SECTION& section);

// Takes the section unless another thread has it. Never blocks.
bool try_enter(CRITICAL_SECTION& section);

class SectionGuard {
  public:
    explicit SectionGuard(CRITICAL_SECTION& section) : section_(section) { enter_uncancelled(section_); }
    ~SectionGuard() { LeaveCriticalSection(&section_); }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;

  private:
    CRITICAL_SECTION& section_;
};

} // namespace kalto

#endif
