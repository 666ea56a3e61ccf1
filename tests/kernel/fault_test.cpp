// The linker redirects the library's calls of these to this file, which fails the ones that a test asks for.
#include "tests/kernel/sleeper.h"

#include <errno.h>
#include <kalto/core.h>
#include <vector>

using namespace kalto_test;

namespace {

using Numbers = std::vector<int>;

int failing_allocation = 0; // counts down to the one that fails; 0: none
Numbers creation_errors; // what the next calls of pthread_create return, the last one first; 0: what it does
bool fork_fails = false;
Numbers priorities_set; // with SCHED_FIFO
Numbers policies_asked_for;
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
    int inherits = -1;
    pthread_attr_getinheritsched(attributes, &inherits);
    EXPECT_EQ(inherits, PTHREAD_INHERIT_SCHED) << "what lets an ordinary user create threads";
    pthread_attr_getstacksize(attributes, &stack_size);
    pthread_attr_getschedpolicy(attributes, &policies_asked_for.emplace_back());
    const int error = creation_errors.empty() ? 0 : creation_errors.back();
    creation_errors.resize(creation_errors.empty() ? 0 : creation_errors.size() - 1);
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
    priorities_set.push_back(policy == SCHED_FIFO ? parameter->sched_priority : -1);
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
    const std::pair<HANDLE (*)(), int> cases[] = {
        // and its allocations
        {[] { return CreateEvent(nullptr, FALSE, FALSE, L"fault"); }, 3},
        {make_thread, 1},
    };
    InstallSignalHandlers(); // may allocate for itself
    for (const auto& [create, allocations] : cases) {
        for (int n = 1; n <= allocations; ++n) {
            failing_allocation = n;
            EXPECT_EQ(create(), nullptr) << n;
            EXPECT_EQ(failing_allocation, 0) << "fewer allocations than that";
        }
        const HANDLE handle = create();
        EXPECT_NE(handle, nullptr);
        CloseHandle(handle);
    }
}

TEST(OutOfMemory, AGroupWaitThatMustBlockFailsAndConsumesNothing) {
    const Handle set(make_event(false, true));
    const Handle other(make_event(false));
    const HANDLE both[] = {set, other};
    const std::vector<HANDLE> many(100, other); // more than there is room for without an allocation
    for (const int n : {1, 2}) {
        failing_allocation = n;
        EXPECT_EQ(WaitForMultipleObjects(100, many.data(), FALSE, 100), DWORD{WAIT_FAILED});
    }
    EXPECT_EQ(WaitForMultipleObjects(100, many.data(), FALSE, 10), DWORD{WAIT_TIMEOUT});
    failing_allocation = 1;
    EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 100), DWORD{WAIT_FAILED});
    EXPECT_EQ(poll(set), DWORD{WAIT_OBJECT_0}) << "still signalled";
    expect_untouched(set);
    expect_untouched(other);
}

TEST(CreateThread, TriesAgainWithItsOwnPolicyWhereRealTimeIsForbidden) {
    for (const int second : {0, EAGAIN, EPERM}) {
        creation_errors = {second, EPERM};
        policies_asked_for.clear();
        const HANDLE thread = make_thread();
        EXPECT_EQ(policies_asked_for, (Numbers{SCHED_FIFO, SCHED_OTHER}));
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
    DWORD id = 0;
    const Handle other(CreateThread(nullptr, 0, nothing, nullptr, CREATE_SUSPENDED, nullptr));
    const Handle thread(CreateThread(nullptr, 0, nothing, nullptr, CREATE_SUSPENDED, &id));
    EXPECT_EQ(GetThreadPriority(thread), own.sched_priority);
    EXPECT_TRUE(SetThreadPriority(thread, 7)) << "although it is forbidden";
    EXPECT_EQ(priorities_set, (Numbers{own.sched_priority, 7}));
    EXPECT_TRUE(TerminateThread(thread, 0) && TerminateThread(other, 0));
}

// Deliberate: a fork that fails is not noticed; what is promised about the handle holds all the same.
TEST(CreateProcess, SucceedsWhenForkFails) {
    fork_fails = true;
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(run_true(&information));
    EXPECT_EQ(poll(information.hThread), DWORD{WAIT_OBJECT_0});
    CloseHandle(information.hThread);
    EXPECT_TRUE(run_true(nullptr));
    failing_allocation = 1;
    EXPECT_FALSE(run_true(&information));
}

} // namespace
