// What happens in the very moment in which a sleep ends. The linker redirects the library's sleeps to this
// file, which lets a test act between the end of a sleep and the next step of the sleeping thread.
#include "tests/kernel/sleeper.h"

#include <deque>
#include <errno.h>

using namespace kalto_test;

namespace {

// What the next sleeps are: each acts, and returns the error that it ends with, or 0 to sleep after all.
std::deque<std::function<int()>> sleeps;

int next_sleep() {
    if (sleeps.empty())
        return 0;
    const auto sleep = sleeps.front();
    sleeps.pop_front();
    return sleep();
}

} // namespace

extern "C" {
int __real_sem_wait(sem_t* semaphore);
int __wrap_sem_wait(sem_t* semaphore) {
    errno = next_sleep();
    return errno != 0 ? -1 : __real_sem_wait(semaphore);
}
int __real_sem_timedwait(sem_t* semaphore, const timespec* deadline);
int __wrap_sem_timedwait(sem_t* semaphore, const timespec* deadline) {
    errno = next_sleep();
    return errno != 0 ? -1 : __real_sem_timedwait(semaphore, deadline);
}
}

namespace {

constexpr DWORD kLong = 600000;

int interrupted() {
    return EINTR;
}

DWORD wait_single(HANDLE handle, DWORD ms) {
    return WaitForSingleObject(handle, ms);
}

DWORD wait_any(HANDLE handle, DWORD ms) {
    return WaitForMultipleObjects(1, &handle, FALSE, ms);
}

DWORD wait_all(HANDLE handle, DWORD ms) {
    return WaitForMultipleObjects(1, &handle, TRUE, ms);
}

constexpr DWORD (*kWaits[])(HANDLE, DWORD) = {wait_single, wait_any, wait_all};

// It takes it, or passes it on when it is terminated in that moment.
TEST(Moment, ASignalGivenWhenTheTimeIsUpGoesToTheWaitingThread) {
    const struct {
        DWORD ms;
        bool terminated;
    } ends[] = {{kLong, false}, {kLong, true}, {INFINITE, true}};
    for (const auto& kind : kKinds) {
        for (const auto wait : kWaits) {
            for (const auto& end : ends) {
                const Handle object(kind.make(FALSE));
                sleeps = {[&] {
                    kind.signal(object);
                    if (end.terminated)
                        pthread_cancel(pthread_self());
                    pthread_testcancel();
                    return ETIMEDOUT;
                }};
                const DWORD result = Sleeper([&] { return wait(object, end.ms); }).result();
                EXPECT_TRUE(sleeps.empty());
                EXPECT_EQ(result, end.terminated ? 0 : WAIT_OBJECT_0) << kind.what;
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
        const char* what;
        DWORD (*wait)(HANDLE, DWORD);
        DWORD ms;
        int retry_value;
        DWORD result;
    } cases[] = {
        {"untimed", wait_single, INFINITE, EINTR, EINTR},
        {"timed", wait_single, kLong, EINTR, WAIT_OBJECT_0},
        {"timed, to be woken", wait_single, kLong, 0, EINTR},
        {"untimed group", wait_any, INFINITE, EINTR, WAIT_OBJECT_0},
        {"timed group", wait_all, kLong, EINTR, WAIT_OBJECT_0},
    };
    EXPECT_EQ(WSAEINTR, EINTR);
    for (const auto& c : cases) {
        const Handle event(make_event(false));
        WSAEINTR = c.retry_value;
        sleeps = {interrupted, interrupted, [&] { return SetEvent(event) ? 0 : EINVAL; }};
        EXPECT_EQ(c.wait(event, c.ms), c.result) << c.what;
        EXPECT_EQ(sleeps.empty(), c.result == WAIT_OBJECT_0) << c.what;
        WSAEINTR = EINTR;
    }
}

TEST(Interruption, LetsNobodyIntoAnythingThatExcludes) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    Sleeper([&] { return EnterCriticalSection(&section); }).result();
    sleeps = {interrupted, interrupted, [&] {
                  LeaveCriticalSection(&section);
                  return 0;
              }};
    EXPECT_EQ(EnterCriticalSection(&section), DWORD{1});
    EXPECT_TRUE(sleeps.empty());

    const Handle event(make_event(false));
    sem_t& guard = kalto::sync_record_of(event)->guard;
    sem_trywait(&guard);
    sleeps = {interrupted, interrupted, [&] { return sem_post(&guard); }};
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(sleeps.empty());
}

} // namespace
