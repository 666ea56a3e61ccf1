// Signal stacks of threads. The memory is mapped, never part of a module: the crash report looks up symbols
// from the stack's base on, and finds none there, as for a thread without such a stack.
#include "core/alternate_stack.h"

#include <csignal>
#include <sys/mman.h>

namespace kalto {

// Room for the largest register frame of the kernel, the report and the dynamic loader. Only pages in use
// cost memory.
constexpr size_t kStackSize = 64 * 1024;

namespace {
class AlternateStack {
  public:
    bool looked_at = false;

    void provide() {
        looked_at = true;
        stack_t current = {};
        if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0)
            return;
        void* memory = mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            return;
        stack_t ours = {};
        ours.ss_sp = memory;
        ours.ss_size = kStackSize;
        if (sigaltstack(&ours, nullptr) == 0)
            memory_ = memory;
        else
            munmap(memory, kStackSize);
    }

    // A handler of the application may be ending the thread while it runs on this stack, or the application
    // may have put a stack of its own in place: only what is ours and idle is withdrawn.
    ~AlternateStack() {
        if (memory_ == nullptr)
            return;
        stack_t current = {};
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_ONSTACK) != 0)
            return;
        if (current.ss_sp == memory_ && sigaltstack(&none, nullptr) != 0)
            return;
        munmap(memory_, kStackSize);
    }

  private:
    void* memory_ = nullptr;
};
} // namespace

static thread_local AlternateStack alternate_stack;

void provide_alternate_stack() {
    if (!alternate_stack.looked_at)
        alternate_stack.provide();
}

} // namespace kalto
