// The linker redirects the library's calls of these to this file, which fails the ones that a test asks for.
#include "tests/kernel/sleeper.h"

#include <errno.h>
#include <kalto/core.h>
#include <vector>

using kalto_test::references;

namespace {

int failing_allocation = 0;       // counts down to the one that fails; 0: none
std::vector<int> creation_errors; // what the next calls of pthread_create return; 0: what it does
bool fork_fails = false;
std::vector<int> priorities_set; // with SCHED_FIFO
std::vector<int> policies_asked_for;
size_t stack_size = 0;
int threads_detached = 0;

bool allocation_fails() {
    return failing_allocation > 0 && --failing_allocation == 0;
}

} // namespace

extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) {
    return allocation_fails() ? nullptr : __real_calloc(count, size);
}
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) {
    return allocation_fails() ? nullptr : __real_malloc(size);
}
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*start)(void*),
                          void* record) {
    pthread_attr_getstacksize(attributes, &stack_size);
    pthread_attr_getschedpolicy(attributes, &policies_asked_for.emplace_back());
    int inherits = -1;
    pthread_attr_getinheritsched(attributes, &inherits);
    EXPECT_EQ(inherits, PTHREAD_INHERIT_SCHED) << "what lets an ordinary user create threads";
    if (creation_errors.empty())
        return __real_pthread_create(id, attributes, start, record);
    const int error = creation_errors.front();
    creation_errors.erase(creation_errors.begin());
    *id = ~pthread_t{0}; // POSIX leaves it undefined
    return error != 0 ? error : __real_pthread_create(id, attributes, start, record);
}
int __real_pthread_detach(pthread_t id);
int __wrap_pthread_detach(pthread_t id) {
    ++threads_detached;
    return __real_pthread_detach(id);
}
int __wrap_pthread_setschedparam(pthread_t, int policy, const sched_param* parameter);
int __wrap_pthread_setschedparam(pthread_t /*id*/, int policy, const sched_param* parameter) {
    EXPECT_EQ(policy, SCHED_FIFO);
    priorities_set.push_back(parameter->sched_priority);
    return EPERM;
}
pid_t __real_fork(void);
pid_t __wrap_fork(void) {
    return fork_fails ? -1 : __real_fork();
}
}

namespace {

DWORD nothing(LPVOID) {
    return 0;
}

HANDLE make_thread() {
    return CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr);
}

BOOL run_true(LPPROCESS_INFORMATION information) {
    return CreateProcess(L"/bin/true", nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr,
                         information);
}

TEST(OutOfMemory, CreatesReturnNullAndLeaveNothing) {
    const struct {
        const char* what;
        HANDLE (*create)();
        int allocations;
    } cases[] = {
        {"mutex", [] { return CreateMutex(nullptr, TRUE, nullptr); }, 1},
        {"semaphore", [] { return CreateSemaphore(nullptr, 1, 1, nullptr); }, 1},
        {"named event", [] { return CreateEvent(nullptr, FALSE, FALSE, L"fault"); }, 3},
        {"thread", make_thread, 1},
    };
    InstallSignalHandlers(); // may allocate for itself
    for (const auto& c : cases) {
        for (int n = 1; n <= c.allocations; ++n) {
            failing_allocation = n;
            EXPECT_EQ(c.create(), nullptr) << c.what << " " << n;
            EXPECT_EQ(failing_allocation, 0) << c.what << ": fewer allocations than that";
        }
        const HANDLE handle = c.create();
        EXPECT_NE(handle, nullptr) << c.what;
        CloseHandle(handle);
    }
}

TEST(OutOfMemory, AGroupWaitThatMustBlockFailsAndConsumesNothing) {
    const HANDLE events[] = {CreateEvent(nullptr, FALSE, TRUE, nullptr),
                             CreateEvent(nullptr, FALSE, FALSE, nullptr)};
    const std::vector<HANDLE> many(100, events[1]); // more than there is room for without an allocation
    for (const int n : {1, 2}) {
        failing_allocation = n;
        EXPECT_EQ(WaitForMultipleObjects(100, many.data(), FALSE, 100), DWORD{WAIT_FAILED});
    }
    failing_allocation = 1;
    EXPECT_EQ(WaitForMultipleObjects(2, events, TRUE, 100), DWORD{WAIT_FAILED});
    EXPECT_EQ(WaitForMultipleObjects(2, events, FALSE, 100), DWORD{WAIT_OBJECT_0}) << "still signalled";
    for (const HANDLE event : events) {
        EXPECT_EQ(references(event), 1);
        EXPECT_EQ(kalto::sync_record_of(event)->link, nullptr);
        CloseHandle(event);
    }
}

TEST(CreateThread, TriesAgainWithItsOwnPolicyWhereRealTimeIsForbidden) {
    for (const int second : {0, EAGAIN, EPERM}) {
        creation_errors = {EPERM, second};
        policies_asked_for.clear();
        const HANDLE thread = make_thread();
        EXPECT_EQ(policies_asked_for, (std::vector<int>{SCHED_FIFO, SCHED_OTHER}));
        EXPECT_EQ(thread != nullptr, second == 0);
        CloseHandle(thread);
    }
}

TEST(CreateThread, AsksForAStackOfAtLeast64KAndTheThreadIsCollectedOnce) {
    for (const DWORD size : {0u, 65535u, 65536u, 300000u}) {
        const HANDLE thread = CreateThread(nullptr, size, nothing, nullptr, 0, nullptr);
        EXPECT_EQ(stack_size, size < 65536 ? 65536 : size);
        while (references(thread) > 1)
            usleep(500);
        const bool joined = size == 0 && GetExitCodeThread(thread, nullptr);
        threads_detached = 0;
        CloseHandle(thread);
        EXPECT_EQ(threads_detached, joined ? 0 : 1);
    }
}

// Deliberate: that is how applications choose their real-time threads.
TEST(CreateThread, AppliesTheCreatorsPriorityOnlyToAThreadWhoseIdIsAskedFor) {
    int policy = 0;
    sched_param own{};
    pthread_getschedparam(pthread_self(), &policy, &own);
    CloseHandle(make_thread());
    EXPECT_TRUE(priorities_set.empty());
    DWORD id = 0;
    const HANDLE thread = CreateThread(nullptr, 0, nothing, nullptr, CREATE_SUSPENDED, &id);
    EXPECT_EQ(GetThreadPriority(thread), own.sched_priority);
    EXPECT_TRUE(SetThreadPriority(thread, 7)) << "although it is forbidden";
    EXPECT_EQ(priorities_set, (std::vector<int>{own.sched_priority, 7}));
    TerminateThread(thread, 0);
    CloseHandle(thread);
}

// Deliberate: a fork that fails is not noticed; what is promised about the handle holds all the same.
TEST(CreateProcess, SucceedsWhenForkFails) {
    fork_fails = true;
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(run_true(&information));
    EXPECT_EQ(WaitForSingleObject(information.hThread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_TRUE(run_true(nullptr));
    failing_allocation = 1;
    EXPECT_FALSE(run_true(&information));
}

} // namespace
