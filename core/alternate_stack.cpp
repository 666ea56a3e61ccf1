// Signal stacks of threads. The memory is mapped, never part of a module: the crash report looks up symbols
// from the stack's base on, and finds none there, as for a thread without such a stack.
#include "core/alternate_stack.h"

#include <atomic>
#include <csignal>
#include <sys/mman.h>

namespace kalto {

// Room for the largest register frame of the kernel, the report and the dynamic loader. Only pages in use
// cost memory.
constexpr size_t kStackSize = 64 * 1024;

// Stacks of ended threads, for the next ones: mapping one anew would cost a thread as much as its creation
// does in other respects. Untouched pages cost nothing.
static std::atomic<void*> idle_stacks[4];

static void* take_stack() {
    for (std::atomic<void*>& place : idle_stacks)
        if (void* stack = place.exchange(nullptr))
            return stack;
    void* stack = mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return stack == MAP_FAILED ? nullptr : stack;
}

static void give_stack(void* stack) {
    for (std::atomic<void*>& place : idle_stacks) {
        void* nothing = nullptr;
        if (place.compare_exchange_strong(nothing, stack))
            return;
    }
    munmap(stack, kStackSize);
}

namespace {
class AlternateStack {
  public:
    bool looked_at = false;

    // Sets ours first and looks at what was there in the same call; a stack of somebody else's is put back.
    void provide() {
        looked_at = true;
        stack_t ours = {};
        ours.ss_sp = take_stack();
        ours.ss_size = kStackSize;
        if (ours.ss_sp == nullptr)
            return;
        stack_t before = {};
        const bool set = sigaltstack(&ours, &before) == 0;
        if (set && (before.ss_flags & SS_DISABLE) != 0) {
            memory_ = ours.ss_sp;
            return;
        }
        if (set)
            sigaltstack(&before, nullptr);
        give_stack(ours.ss_sp);
    }

    // A handler of the application may be ending the thread while it runs on this stack, or the application
    // may have put a stack of its own in place: only what is ours and idle is withdrawn.
    ~AlternateStack() {
        if (memory_ == nullptr)
            return;
        stack_t before = {};
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        if (sigaltstack(&none, &before) != 0)
            return; // this very stack is in use
        if (before.ss_sp != memory_ && (before.ss_flags & SS_DISABLE) == 0)
            sigaltstack(&before, nullptr);
        give_stack(memory_);
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
