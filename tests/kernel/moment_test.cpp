// What others do while a thread sleeps in a wait, up to the very moment in which its sleep ends. The linker
// redirects the library's sleeps to this file, which acts in the others' place.
#include "tests/kernel/sleeper.h"

#include <deque>
#include <errno.h>
#include <vector>

using namespace kalto_test;

namespace {

// What the next sleeps are: each acts, and returns the error that it ends with, or 0 to sleep after all. One
// that is interrupted when it has been woken ends as woken.
std::deque<std::function<int()>> sleeps;

int sleep_on(sem_t* semaphore, const std::function<int()>& really) {
    if (sleeps.empty())
        return really();
    const auto sleep = sleeps.front();
    sleeps.pop_front();
    const int error = sleep();
    if (error == 0)
        return really();
    if (error == EINTR && sem_trywait(semaphore) == 0)
        return 0;
    errno = error;
    return -1;
}

} // namespace

extern "C" {
int __real_sem_wait(sem_t* semaphore);
int __wrap_sem_wait(sem_t* semaphore) {
    return sleep_on(semaphore, [=] { return __real_sem_wait(semaphore); });
}
int __real_sem_timedwait(sem_t* semaphore, const timespec* deadline);
int __wrap_sem_timedwait(sem_t* semaphore, const timespec* deadline) {
    return sleep_on(semaphore, [=] { return __real_sem_timedwait(semaphore, deadline); });
}
}

namespace {

constexpr DWORD kLong = 600000;

int interrupted() {
    return EINTR;
}

DWORD wait_all(HANDLE handle, DWORD ms) {
    return WaitForMultipleObjects(1, &handle, TRUE, ms);
}

// It takes it, or passes it on when it is terminated in that moment.
TEST(Moment, ASignalGivenWhenTheTimeIsUpGoesToTheWaitingThread) {
    const struct {
        DWORD ms;
        bool terminated;
    } ends[] = {{kLong, false}, {kLong, true}, {INFINITE, true}};
    for (const auto& kind : kKinds) {
        for (const auto wait : {WaitForSingleObject, wait_any, wait_all}) {
            for (const auto& end : ends) {
                const Handle object(kind.make(FALSE));
                sleeps = {[&] {
                    kind.signal(object);
                    if (end.terminated)
                        pthread_cancel(pthread_self());
                    pthread_testcancel();
                    return ETIMEDOUT;
                }};
                EXPECT_EQ(Sleeper([&] { return wait(object, end.ms); }).result(),
                          end.terminated ? 0 : WAIT_OBJECT_0);
                EXPECT_EQ(poll(object), end.terminated ? WAIT_OBJECT_0 : WAIT_TIMEOUT) << kind.what;
                const bool one_more = end.terminated && poll_elsewhere(object) != WAIT_TIMEOUT;
                EXPECT_FALSE(one_more) << kind.what;
                expect_untouched(object);
            }
        }
    }
}

TEST(Interruption, EndsAnUntimedSingleWaitAndNoOther) {
    const struct {
        DWORD (*wait)(HANDLE, DWORD);
        DWORD ms;
        int retry_value;
        DWORD result;
    } cases[] = {
        {WaitForSingleObject, INFINITE, EINTR, EINTR}, {WaitForSingleObject, kLong, EINTR, WAIT_OBJECT_0},
        {WaitForSingleObject, kLong, 0, EINTR}, // to be woken
        {wait_any, INFINITE, EINTR, WAIT_OBJECT_0},    {wait_all, kLong, EINTR, WAIT_OBJECT_0},
    };
    EXPECT_EQ(WSAEINTR, EINTR);
    for (const auto& c : cases) {
        const Handle event(make_event(false));
        WSAEINTR = c.retry_value;
        sleeps = {interrupted, interrupted, [&] { return SetEvent(event) ? 0 : EINVAL; }};
        EXPECT_EQ(c.wait(event, c.ms), c.result) << &c - cases;
        WSAEINTR = EINTR;
    }
}

TEST(Interruption, LetsNobodyIntoAnythingThatExcludes) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    Sleeper([&] { return EnterCriticalSection(&section); }).result();
    const Handle event(make_event(false));
    sem_t* const guard = &kalto::sync_record_of(event)->guard;
    sem_trywait(guard);
    for (sem_t* const lock : {&section.LockSemaphore, guard}) {
        sleeps = {interrupted, interrupted, [&] { return sem_post(lock); }};
        EXPECT_TRUE(lock == guard ? SetEvent(event) : EnterCriticalSection(&section) == 1);
        EXPECT_TRUE(sleeps.empty());
    }
}

struct GroupCase {
    const char* what;
    bool manual, all;
    // Before the wait, and in each of its sleeps: s2 sets the last event, r2 resets it, c2 closes it, w is
    // another wait for the same, and t the end of the time.
    std::vector<std::string> steps;
    DWORD result;
    const char* left; // of each event: whether it is signalled, or closed
};

// A wait for three events.
class GroupWait {
  public:
    explicit GroupWait(const GroupCase& c) : case_(c) {
        for (HANDLE& event : events_)
            event = make_event(c.manual);
    }
    void run() {
        play(case_.steps[0]);
        for (size_t i = 1; i < case_.steps.size(); ++i)
            sleeps.push_back([this, i] { return play(case_.steps[i]); });
        wait();
        EXPECT_TRUE(sleeps.empty()) << case_.what;
        for (size_t i = 0; i < 3; ++i) {
            if (case_.left[i] == 'c')
                continue; // freed by the wait; a second time is the address sanitizer's to find
            EXPECT_EQ(poll(events_[i]), case_.left[i] == '1' ? WAIT_OBJECT_0 : WAIT_TIMEOUT) << case_.what;
            expect_untouched(events_[i]);
            CloseHandle(events_[i]);
        }
    }

  private:
    void wait() const {
        EXPECT_EQ(WaitForMultipleObjects(3, events_, case_.all, INFINITE), case_.result) << case_.what;
    }
    int play(const std::string& step) {
        if (step == "w")
            wait();
        for (size_t i = 0; i + 1 < step.size(); i += 2) {
            const auto act = step[i] == 's' ? SetEvent : step[i] == 'r' ? ResetEvent : CloseHandle;
            act(events_[step[i + 1] - '0']);
        }
        return step == "t" ? ETIMEDOUT : EINTR;
    }

    const GroupCase& case_;
    HANDLE events_[3] = {};
};

// Deliberate: the highest index is reported; a wait for all counts what stays signalled in every round.
TEST(GroupWait, FindsWhatHasBeenSignalledOrAbandonedMeanwhile) {
    constexpr bool kAuto = false, kManual = true, kAny = false, kAll = true;
    const GroupCase cases[] = {
        {"the higher one alone is consumed", kAuto, kAny, {"s0s1"}, WAIT_OBJECT_0 + 1, "100"},
        {"reset at once", kManual, kAny, {"", "s1r1"}, WAIT_OBJECT_0 + 1, "000"},
        {"reset at once", kAuto, kAny, {"", "s1r1"}, WAIT_OBJECT_0 + 1, "000"},
        {"the first that comes", kAuto, kAny, {"", "s1s0s2"}, WAIT_OBJECT_0 + 1, "101"},
        {"in any order", kAuto, kAll, {"", "s1r1", "s0r0", "s2r2"}, WAIT_OBJECT_0, "000"},
        {"consumed for nothing", kAuto, kAll, {"s2", "t"}, WAIT_TIMEOUT, "000"},
        {"1 + 2 makes 3", kManual, kAll, {"s2", "s0"}, WAIT_OBJECT_0, "101"},
        {"2 + 2 is more than 3", kManual, kAll, {"", "s0s1"}, WAIT_OBJECT_0, "110"},
        // Closing one is no reason to look, while somebody can set another one. The wait frees what was
        // closed.
        {"a look ends before the lower one", kAuto, kAny, {"", "c1", "s0"}, WAIT_ABANDONED_0 + 1, "1c0"},
        {"by two waits", kAuto, kAny, {"", "w", "c1s0"}, WAIT_ABANDONED_0 + 1, "1c0"},
        {"a look for all takes it", kAuto, kAll, {"", "c2", "s0s1"}, WAIT_ABANDONED_0 + 2, "00c"},
        {"a higher one goes first", kAuto, kAny, {"", "c0", "s1"}, WAIT_OBJECT_0 + 1, "c00"},
        {"no hope is left", kAuto, kAny, {"", "c2", "c1", "c0"}, WAIT_ABANDONED_0 + 2, "ccc"},
    };
    for (const GroupCase& c : cases)
        GroupWait(c).run();
}

} // namespace
