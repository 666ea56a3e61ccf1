// WaitForMultipleObjects.
#include "kernel/deadline.h"
#include "kernel/wait_group.h"
#include "kernel/wait_single.h"
#include <stdlib.h>

namespace kalto {
namespace {

bool all_handles(DWORD count, const HANDLE* handles) {
    for (DWORD i = 0; i < count; ++i) {
        if (record_of(handles[i]) == nullptr)
            return false;
    }
    return true;
}

bool all_waitable(DWORD count, const HANDLE* handles) {
    for (DWORD i = 0; i < count; ++i) {
        if (!waitable(handles[i]))
            return false;
    }
    return true;
}

// A wait for any that finds something at once needs neither links nor an event. The handles are the caller's
// own, so nothing can be abandoned yet. A handle behind the one that is found is not looked at.
DWORD first_look(DWORD count, const HANDLE* handles) {
    for (DWORD i = count; i-- > 0;) {
        const DWORD seen = wait_for(handles[i], 0);
        if (seen != WAIT_TIMEOUT)
            return seen == WAIT_OBJECT_0 ? WAIT_OBJECT_0 + i : seen;
    }
    return WAIT_TIMEOUT;
}

// Room for the entries of a group: no allocation up to the number that ported code may use.
class Entries {
  public:
    Entries(DWORD count, const HANDLE* handles)
        : more_(count <= MAXIMUM_WAIT_OBJECTS ? nullptr
                                              : static_cast<GroupEntry*>(calloc(count, sizeof(GroupEntry)))),
          first_(count <= MAXIMUM_WAIT_OBJECTS ? few_ : more_) {
        if (first_ == nullptr)
            return;
        for (DWORD i = 0; i < count; ++i)
            first_[i].record = record_of(handles[i]);
    }
    ~Entries() { free(more_); }
    Entries(const Entries&) = delete;
    Entries& operator=(const Entries&) = delete;
    GroupEntry* first() { return first_; }

  private:
    GroupEntry few_[MAXIMUM_WAIT_OBJECTS];
    GroupEntry* const more_;
    GroupEntry* const first_;
};

DWORD wait_as_group(DWORD count, const HANDLE* handles, bool wait_all, DWORD milliseconds) {
    if (!all_waitable(count, handles))
        return WAIT_FAILED;
    const Deadline deadline(milliseconds);
    Entries entries(count, handles);
    if (entries.first() == nullptr)
        return WAIT_FAILED;
    WaitGroup group(entries.first(), count, wait_all, milliseconds == INFINITE);
    if (!group.make_event() || !group.link())
        return WAIT_FAILED;
    return group.run(deadline.get());
}

} // namespace
} // namespace kalto

DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds) {
    pthread_testcancel();
    if ((nCount != 0 && lpHandles == nullptr) || !kalto::all_handles(nCount, lpHandles))
        return WAIT_FAILED;
    if (bWaitAll == FALSE) {
        const DWORD seen = kalto::first_look(nCount, lpHandles);
        if (seen != WAIT_TIMEOUT || dwMilliseconds == 0)
            return seen;
    }
    return kalto::wait_as_group(nCount, lpHandles, bWaitAll != FALSE, dwMilliseconds);
}
