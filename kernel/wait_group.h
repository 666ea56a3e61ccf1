// One WaitForMultipleObjects in progress.
//
//  1. The group has one entry in the chain of each of its objects and one reference to each handle of the
//     array, from link until leave. Both are taken back by the waiting thread alone, terminated or not.
//  2. Every signal of a linked object sets the group's event, under the object's guard: what happens between
//     a pass over the objects and the wait for the event is seen by the next pass.
//  3. A wait for any: while the thread is blocked on the event, and only then, the first signal that reaches
//     the group and would be found by a pass is consumed for it on the spot; then the wait is decided.
//     A wait for all: a signal is consumed for the group at any time, once for each object until a pass
//     has counted it.
//  4. What was given and is not taken goes back to the object when the group leaves.
#ifndef KALTO_KERNEL_WAIT_GROUP_H
#define KALTO_KERNEL_WAIT_GROUP_H

#include "kernel/handle_record.h"
#include "kernel/waiter.h"

namespace kalto {

class WaitGroup;

// Guarded by the guard of the object in whose chain it is; record and index are constant.
struct GroupEntry {
    HandleRecord* record;
    GroupEntry* next;
    WaitGroup* group;
    DWORD index;
    bool linked; // false for the second entry of one object: one link serves both
    bool given;  // a signal of the object was consumed for the group and not yet counted
};

class WaitGroup {
  public:
    // entries[0 .. count) have their records set, all of them waitable.
    WaitGroup(GroupEntry* entries, DWORD count, bool wait_all, bool endless);
    ~WaitGroup(); // leaves, if the thread was terminated before it could
    WaitGroup(const WaitGroup&) = delete;
    WaitGroup& operator=(const WaitGroup&) = delete;

    bool make_event(); // false when memory is out
    bool link();       // false when one of the objects has been closed for good
    DWORD run(const timespec* deadline);
    void leave();

    // By those who signal an object, under its guard.
    void offer(SyncRecord& object, GroupEntry& entry, WakeList& woken);
    // By those who close one, under its guard: has the group make another pass.
    void look_again(WakeList& woken);
    // Likewise, but only if nobody is left to signal any of the objects of a wait without end.
    void look_again_if_hopeless(WakeList& woken);

  private:
    enum class Seen { kNothing, kSignal, kAbandoned };
    struct Pass {
        DWORD found = WAIT_TIMEOUT;     // or WAIT_OBJECT_0 + index
        DWORD abandoned = WAIT_TIMEOUT; // or WAIT_ABANDONED_0 + index
    };
    bool link_entry(GroupEntry& entry);
    void unlink_entry(GroupEntry& entry);
    Seen look_at(GroupEntry& entry);
    Seen look_at_object(SyncRecord& object, GroupEntry& entry);
    Pass pass();
    DWORD wait_for_event(const timespec* deadline);
    bool all_abandoned() const;
    bool any_abandoned_from(DWORD index) const;

    GroupEntry* const entries_;
    const DWORD count_;
    const bool wait_all_;
    const bool endless_;
    const pthread_t thread_;
    SyncRecord* event_ = nullptr; // auto-reset
    GroupEntry* given_ = nullptr; // wait for any: what decided it; guarded by the event's guard
    DWORD first_linked_;          // entries_[first_linked_ .. count_) are linked
    DWORD signalled_ = 0;         // accumulates over all passes
};

} // namespace kalto

#endif
