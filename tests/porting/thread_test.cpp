#include <gtest/gtest.h>
#include <kalto/porting.h>
#include <winsock2.h>

namespace {

unsigned return_its_argument(void* argument) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(argument));
}

unsigned end_with_nine(void* /*argument*/) {
    _endthreadex(9);
}

TEST(BeginThreadEx, ExitCodeIsWhatTheRoutineReturnsOrEndsWith) {
    const struct {
        unsigned (*routine)(void*);
        DWORD code;
    } cases[] = {{return_its_argument, 77}, {end_with_nine, 9}};
    for (const auto& c : cases) {
        unsigned id = 0;
        auto* thread = reinterpret_cast<HANDLE>(
            _beginthreadex(nullptr, 0, c.routine, reinterpret_cast<void*>(uintptr_t{77}), 0, &id));
        ASSERT_NE(nullptr, thread);
        EXPECT_EQ(id, GetThreadId(thread));
        EXPECT_EQ(DWORD{WAIT_OBJECT_0}, WaitForSingleObject(thread, INFINITE));
        DWORD code = 0;
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        EXPECT_EQ(c.code, code);
        FILETIME time = {};
        EXPECT_FALSE(GetThreadTimes(thread, &time, &time, &time, &time));
        CloseHandle(thread);
    }
    errno = 0;
    EXPECT_EQ(0u, _beginthreadex(nullptr, 0, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(EINVAL, errno);
}

ULONGLONG value_of(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

struct Shared {
    CRITICAL_SECTION section;
    DWORD slot;
    HANDLE looked;
    HANDLE go_on;
};

unsigned look(void* argument) {
    const auto& shared = *static_cast<Shared*>(argument);
    unsigned found = 0;
    if (TryEnterCriticalSection(const_cast<LPCRITICAL_SECTION>(&shared.section)))
        found |= 1;
    if (TlsGetValue(shared.slot) != nullptr || GetLastError() != ERROR_SUCCESS)
        found |= 2;
    SetEvent(shared.looked);
    WaitForSingleObject(shared.go_on, INFINITE);
    return found;
}

TEST(Threads, HaveValuesOfTheirOwnAndRespectATriedSection) {
    Shared shared = {};
    shared.looked = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    shared.go_on = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    shared.slot = TlsAlloc();
    ASSERT_NE(TLS_OUT_OF_INDEXES, shared.slot);
    EXPECT_TRUE(TlsSetValue(shared.slot, &shared));
    InitializeCriticalSection(&shared.section);
    EXPECT_TRUE(TryEnterCriticalSection(&shared.section));
    EXPECT_TRUE(TryEnterCriticalSection(&shared.section));
    auto* thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, look, &shared, 0, nullptr));
    ASSERT_NE(nullptr, thread);
    WaitForSingleObject(shared.looked, INFINITE);
    FILETIME none = {}, kernel = {}, user = {};
    EXPECT_TRUE(GetThreadTimes(thread, &none, &none, &kernel, &user));
    EXPECT_LT(0u, value_of(user));
    EXPECT_TRUE(GetThreadTimes(GetCurrentThread(), &none, &none, &kernel, &user));
    EXPECT_EQ(GetCurrentThreadId(), GetThreadId(GetCurrentThread()));
    EXPECT_FALSE(GetThreadTimes(shared.looked, &none, &none, &kernel, &user));
    EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, GetLastError());
    SetEvent(shared.go_on);
    WaitForSingleObject(thread, INFINITE);
    DWORD found = 99;
    EXPECT_TRUE(GetExitCodeThread(thread, &found));
    EXPECT_EQ(0u, found);
    LeaveCriticalSection(&shared.section);
    DeleteCriticalSection(&shared.section);
    EXPECT_EQ(&shared, TlsGetValue(shared.slot));
    EXPECT_TRUE(TlsFree(shared.slot));
    EXPECT_FALSE(TlsFree(shared.slot));
    EXPECT_EQ(nullptr, TlsGetValue(shared.slot));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    for (HANDLE handle : {thread, shared.looked, shared.go_on})
        CloseHandle(handle);
}

TEST(Interlocked, ComparesBeforeItStores) {
    LONG number = 5;
    EXPECT_EQ(5, InterlockedCompareExchange(&number, 6, 4));
    EXPECT_EQ(5, InterlockedCompareExchange(&number, 6, 5));
    EXPECT_EQ(6, number);
    PVOID pointer = &number;
    EXPECT_EQ(&number, InterlockedCompareExchangePointer(&pointer, nullptr, &pointer));
    EXPECT_EQ(&number, InterlockedExchangePointer(&pointer, &pointer));
    EXPECT_EQ(&pointer, pointer);
}

TEST(Sockets, SelectNeedsNoNumberOfDescriptorsAndKeepsTheTimeout) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    for (const bool ready : {false, true}) {
        if (ready) {
            ASSERT_EQ(1, send(ends[1], "x", 1, 0));
        }
        fd_set set;
        FD_ZERO(&set);
        FD_SET(ends[0], &set);
        timeval timeout = {0, 1000};
        EXPECT_EQ(ready ? 1 : 0, select(0, &set, nullptr, nullptr, &timeout));
        EXPECT_EQ(1000, timeout.tv_usec);
    }
    closesocket(ends[0]);
    closesocket(ends[1]);
}

} // namespace
