// The linker redirects the library's calls of these to this file, which fails the ones that a test asks for.
#include "kernel/handle_record.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <kalto/kernel.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

int failing_allocation = 0;       // counts down to the one that fails; 0: none
std::vector<int> creation_errors; // what the next calls of pthread_create return; 0: what it does
bool fork_fails = false;
std::vector<int> priorities_set; // with SCHED_FIFO

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
int __real_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*start)(void*),
                          void* argument);
int __wrap_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*start)(void*),
                          void* argument) {
    int error = 0;
    if (!creation_errors.empty()) {
        int policy = 0;
        pthread_attr_getschedpolicy(attributes, &policy);
        EXPECT_EQ(policy, creation_errors.size() == 2 ? SCHED_FIFO : SCHED_OTHER);
        error = creation_errors.front();
        creation_errors.erase(creation_errors.begin());
    }
    if (error != 0)
        *id = ~pthread_t{0}; // POSIX leaves it undefined
    return error != 0 ? error : __real_pthread_create(id, attributes, start, argument);
}
int __wrap_pthread_setschedparam(pthread_t id, int policy, const sched_param* parameter);
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

TEST(OutOfMemory, CreatesReturnNullAndLeaveNothing) {
    struct Case {
        const char* what;
        HANDLE (*create)();
        int allocations;
    };
    const Case cases[] = {
        {"event", [] { return CreateEvent(nullptr, FALSE, FALSE, nullptr); }, 1},
        {"mutex", [] { return CreateMutex(nullptr, TRUE, nullptr); }, 1},
        {"semaphore", [] { return CreateSemaphore(nullptr, 1, 1, nullptr); }, 1},
        {"named event", [] { return CreateEvent(nullptr, FALSE, FALSE, L"fault"); }, 3},
        {"thread", [] { return CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr); }, 1},
    };
    InstallSignalHandlers(); // may allocate for itself
    for (const Case& c : cases) {
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
    const std::vector<HANDLE> events{CreateEvent(nullptr, FALSE, TRUE, nullptr),
                                     CreateEvent(nullptr, FALSE, FALSE, nullptr)};
    failing_allocation = 1;
    EXPECT_EQ(WaitForMultipleObjects(2, events.data(), TRUE, 100), DWORD{WAIT_FAILED});
    EXPECT_EQ(kalto::record_of(events[0])->references, 1);
    EXPECT_EQ(kalto::sync_record_of(events[0])->link, nullptr);
    EXPECT_EQ(WaitForMultipleObjects(2, events.data(), FALSE, 100), DWORD{WAIT_OBJECT_0})
        << "still signalled";
    const std::vector<HANDLE> many(100, events[1]); // more than there is room for without an allocation
    failing_allocation = 1;
    EXPECT_EQ(WaitForMultipleObjects(100, many.data(), FALSE, 100), DWORD{WAIT_FAILED});
    for (const HANDLE event : events)
        CloseHandle(event);
}

TEST(CreateThread, TriesAgainWithItsOwnPolicyWhereRealTimeIsForbidden) {
    struct Case {
        std::vector<int> errors;
        bool succeeds;
    };
    for (const Case& c :
         {Case{{EPERM, 0}, true}, Case{{EPERM, EAGAIN}, false}, Case{{EPERM, EPERM}, false}}) {
        creation_errors = c.errors;
        const HANDLE thread = CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr);
        EXPECT_TRUE(creation_errors.empty());
        EXPECT_EQ(thread != nullptr, c.succeeds);
        CloseHandle(thread);
    }
}

// Deliberate: that is how applications choose their real-time threads.
TEST(CreateThread, AppliesTheCreatorsPriorityOnlyToAThreadWhoseIdIsAskedFor) {
    int policy = 0;
    sched_param own{};
    pthread_getschedparam(pthread_self(), &policy, &own);
    CloseHandle(CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr));
    EXPECT_TRUE(priorities_set.empty());
    DWORD id = 0;
    const HANDLE thread = CreateThread(nullptr, 0, nothing, nullptr, CREATE_SUSPENDED, &id);
    ASSERT_EQ(priorities_set, std::vector<int>{own.sched_priority});
    EXPECT_TRUE(SetThreadPriority(thread, 7)) << "although it is forbidden";
    EXPECT_EQ(priorities_set.back(), 7);
    TerminateThread(thread, 0);
    CloseHandle(thread);
}

// Deliberate: a fork that fails is not noticed; what is promised about the handle holds all the same.
TEST(CreateProcess, SucceedsWhenForkFails) {
    fork_fails = true;
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(CreateProcess(L"/bin/true", nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr,
                              &information));
    EXPECT_EQ(WaitForSingleObject(information.hThread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_TRUE(
        CreateProcess(L"/bin/true", nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr, nullptr));
    failing_allocation = 1;
    EXPECT_FALSE(CreateProcess(L"/bin/true", nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr,
                               &information));
}

} // namespace
