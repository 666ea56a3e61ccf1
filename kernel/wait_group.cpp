#include "kernel/wait_group.h"

#include "kernel/guard.h"
#include "kernel/interlocked.h"
#include "kernel/process.h"
#include "kernel/sync_object.h"

namespace kalto {

WaitGroup::WaitGroup(GroupEntry* entries, DWORD count, bool wait_all, bool endless)
    : entries_(entries), count_(count), wait_all_(wait_all), endless_(endless), thread_(pthread_self()),
      first_linked_(count) {}

WaitGroup::~WaitGroup() {
    leave();
}

bool WaitGroup::make_event() {
    HandleRecord* record = nullptr;
    create_record(
        HT_EVENT, nullptr, [](HandleRecord* made, void*) { init_sync(*reinterpret_cast<SyncRecord*>(made)); },
        nullptr, &record);
    event_ = reinterpret_cast<SyncRecord*>(record);
    return event_ != nullptr;
}

static bool only_waits_left(const HandleRecord* record) {
    if (record->type < HT_EVENT || record->type > HT_THREAD)
        return record->references == 1;
    const auto* const object = reinterpret_cast<const SyncRecord*>(record);
    return object->closed || record->references == object->group_waits;
}

bool WaitGroup::any_abandoned_from(DWORD index) const {
    const InterlockedSection counts;
    for (DWORD i = index; i < count_; ++i) {
        if (only_waits_left(entries_[i].record))
            return true;
    }
    return false;
}

bool WaitGroup::all_abandoned() const {
    const InterlockedSection counts;
    for (DWORD i = 0; i < count_; ++i) {
        if (!only_waits_left(entries_[i].record))
            return false;
    }
    return true;
}

// ---- In and out of the chains ----

static GroupEntry* entry_of(const SyncRecord& object, const WaitGroup* group) {
    GroupEntry* entry = object.link;
    while (entry != nullptr && entry->group != group)
        entry = entry->next;
    return entry;
}

static void append(SyncRecord& object, GroupEntry& entry) {
    GroupEntry** end = &object.link;
    while (*end != nullptr)
        end = &(*end)->next;
    entry.next = nullptr;
    *end = &entry;
}

static void remove(SyncRecord& object, GroupEntry& entry) {
    GroupEntry** at = &object.link;
    while (*at != &entry)
        at = &(*at)->next;
    *at = entry.next;
}

bool WaitGroup::link_entry(GroupEntry& entry) {
    entry.group = this;
    entry.linked = false;
    entry.given = false;
    SyncRecord* const object = sync_record_of(entry.record);
    if (object == nullptr) {
        InterlockedIncrement(&entry.record->references);
        return true;
    }
    const Guard held(object->guard);
    const InterlockedSection counts;
    // Its last reference may be gone, and its release on the way: a new one would have it released twice.
    if (object->closed || entry.record->references <= 0)
        return false;
    entry.linked = entry_of(*object, this) == nullptr;
    if (entry.linked)
        append(*object, entry);
    ++entry.record->references;
    if (entry.linked)
        ++object->group_waits;
    return true;
}

bool WaitGroup::link() {
    while (first_linked_ > 0) {
        GroupEntry& entry = entries_[first_linked_ - 1];
        entry.index = first_linked_ - 1;
        if (!link_entry(entry))
            return false;
        --first_linked_;
    }
    return true;
}

void WaitGroup::unlink_entry(GroupEntry& entry) {
    if (entry.linked) {
        auto& object = *sync_record_of(entry.record);
        WakeList woken;
        const Guard held(object.guard);
        remove(object, entry);
        if (entry.given || given_ == &entry)
            restore(object, thread_, woken);
    }
    release_reference(entry.record, entry.linked);
}

void WaitGroup::leave() {
    const CancellationOff off;
    for (DWORD i = count_; i > first_linked_; --i)
        unlink_entry(entries_[i - 1]);
    first_linked_ = count_;
    if (event_ != nullptr)
        release_reference(&event_->head);
    event_ = nullptr;
}

// ---- What the others do ----

void WaitGroup::offer(SyncRecord& object, GroupEntry& entry, WakeList& woken) {
    const Guard held(event_->guard);
    const bool asleep = event_->first_waiter != nullptr;
    if (wait_all_) {
        if (!entry.given && signalled_for(object, thread_)) {
            consume_for(object, thread_);
            entry.given = true;
        }
    } else if (asleep && signalled_for(object, thread_) && !any_abandoned_from(entry.index + 1)) {
        consume_for(object, thread_);
        given_ = &entry;
    }
    set_state(*event_, woken);
}

void WaitGroup::look_again(WakeList& woken) {
    const Guard held(event_->guard);
    set_state(*event_, woken);
}

void WaitGroup::look_again_if_hopeless(WakeList& woken) {
    if (endless_ && all_abandoned())
        look_again(woken);
}

// ---- The waiting thread ----

WaitGroup::Seen WaitGroup::look_at_object(SyncRecord& object, GroupEntry& entry) {
    const Guard held(object.guard);
    GroupEntry* const own = entry.linked ? &entry : entry_of(object, this);
    if (own != nullptr && own->given) {
        own->given = false;
        return Seen::kSignal;
    }
    {
        const InterlockedSection counts;
        if (only_waits_left(entry.record))
            return Seen::kAbandoned;
    }
    if (!signalled_for(object, thread_))
        return Seen::kNothing;
    consume_for(object, thread_);
    return Seen::kSignal;
}

WaitGroup::Seen WaitGroup::look_at(GroupEntry& entry) {
    if (SyncRecord* const object = sync_record_of(entry.record))
        return look_at_object(*object, entry);
    if (InterlockedExchangeAdd(&entry.record->references, 0) == 1)
        return Seen::kAbandoned;
    ProcessRecord* const process = process_record_of(entry.record);
    if (process == nullptr)
        return Seen::kNothing; // a search or a change notification: never signalled
    wait_for_child(*process);
    return Seen::kSignal;
}

// Deliberate: from the last to the first, so that the highest index is reported; applications sort their
// handles by that.
WaitGroup::Pass WaitGroup::pass() {
    Pass result;
    for (DWORD i = count_; i-- > 0;) {
        const Seen seen = look_at(entries_[i]);
        if (seen == Seen::kNothing)
            continue;
        // Deliberate: counted over all passes together, so that threads that end one after the other add up.
        ++signalled_;
        if (seen == Seen::kAbandoned)
            result.abandoned = WAIT_ABANDONED_0 + i;
        else
            result.found = WAIT_OBJECT_0 + i;
        if (!wait_all_)
            break;
    }
    return result;
}

DWORD WaitGroup::wait_for_event(const timespec* deadline) {
    take(event_->guard);
    if (event_->state != 0) {
        event_->state = 0;
        give_back(event_->guard);
        return 0;
    }
    return block(*event_, deadline, Interruption::kRetried);
}

DWORD WaitGroup::run(const timespec* deadline) {
    for (;;) {
        const Pass seen = pass();
        if (wait_all_ ? signalled_ >= count_ : signalled_ > 0) {
            if (seen.abandoned != WAIT_TIMEOUT)
                return seen.abandoned;
            return wait_all_ ? WAIT_OBJECT_0 : seen.found;
        }
        const DWORD error = wait_for_event(deadline);
        // Nobody gives anything to a thread that is awake, so this may be read without the guard.
        if (given_ != nullptr) {
            const DWORD index = given_->index;
            given_ = nullptr;
            return WAIT_OBJECT_0 + index;
        }
        if (error == WAIT_TIMEOUT)
            return WAIT_TIMEOUT;
    }
}

} // namespace kalto
