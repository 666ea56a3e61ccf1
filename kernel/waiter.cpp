#include "kernel/waiter.h"

#include "kernel/cancellation_point.h"
#include "kernel/guard.h"
#include "kernel/sync_object.h"

namespace kalto {

void WakeList::add(SingleWaiter& waiter) {
    waiter.next = nullptr;
    (last_ == nullptr ? first_ : last_->next) = &waiter;
    last_ = &waiter;
}

void WakeList::wake_all() {
    while (first_ != nullptr) {
        SingleWaiter* const waiter = first_;
        first_ = waiter->next; // the post ends the waiter's life
        give_back(waiter->wake);
    }
}

static void enqueue(SyncRecord& object, SingleWaiter& waiter) {
    waiter.next = nullptr;
    waiter.queued = true;
    (object.last_waiter == nullptr ? object.first_waiter : object.last_waiter->next) = &waiter;
    object.last_waiter = &waiter;
}

SingleWaiter* next_waiter(SyncRecord& object) {
    SingleWaiter* const waiter = object.first_waiter;
    if (waiter == nullptr)
        return nullptr;
    object.first_waiter = waiter->next;
    if (object.first_waiter == nullptr)
        object.last_waiter = nullptr;
    waiter->queued = false;
    return waiter;
}

static void dequeue(SyncRecord& object, SingleWaiter& waiter) {
    SingleWaiter* before = nullptr;
    SingleWaiter* at = object.first_waiter;
    while (at != &waiter) {
        before = at;
        at = at->next;
    }
    (before == nullptr ? object.first_waiter : before->next) = waiter.next;
    if (object.last_waiter == &waiter)
        object.last_waiter = before;
    waiter.queued = false;
}

namespace {

// One thread's stay in the queue of an object.
class Stay {
  public:
    explicit Stay(SyncRecord& object);
    ~Stay();
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

    DWORD sleep(const timespec* deadline); // 0 or the errno value
    DWORD leave(DWORD error);              // error: what sleep returned

  private:
    bool was_taken_out(bool woken);

    SyncRecord& object_;
    SingleWaiter waiter_;
    bool gone_ = false;
};

Stay::Stay(SyncRecord& object) : object_(object), waiter_{} {
    sem_init(&waiter_.wake, 0, 0);
    waiter_.thread = pthread_self();
    enqueue(object, waiter_);
    ++object.pins;
    give_back(object.guard);
}

DWORD Stay::sleep(const timespec* deadline) {
    return static_cast<DWORD>(blocking_wait(waiter_.wake, deadline));
}

// Under the guard: out of the queue for good, and the post that is on its way or has come is used up.
bool Stay::was_taken_out(bool woken) {
    gone_ = true;
    if (waiter_.queued) {
        dequeue(object_, waiter_);
        return false;
    }
    if (!woken)
        take(waiter_.wake);
    return true;
}

DWORD Stay::leave(DWORD error) {
    take(object_.guard);
    const bool taken_out = was_taken_out(error == 0);
    const bool turned_away = waiter_.turned_away;
    unpin(object_);
    if (!taken_out)
        return error;
    // Whoever comes too late for the deadline, but was given the signal in that very moment, succeeds.
    return turned_away ? WAIT_FAILED : 0;
}

Stay::~Stay() {
    if (!gone_) { // terminated in sleep
        const CancellationOff off;
        WakeList woken;
        take(object_.guard);
        if (was_taken_out(false) && !waiter_.turned_away)
            restore(object_, waiter_.thread, woken);
        unpin(object_);
    }
    sem_destroy(&waiter_.wake);
}

} // namespace

DWORD block(SyncRecord& object, const timespec* deadline, Interruption interruption) {
    Stay stay(object);
    DWORD error = 0;
    do {
        error = stay.sleep(deadline);
    } while (error != 0 && interruption == Interruption::kRetried && error == static_cast<DWORD>(WSAEINTR));
    return stay.leave(error);
}

} // namespace kalto
