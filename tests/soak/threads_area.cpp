// Threads that are created, return, leave by ExitThread, are terminated in a wait or before they ever ran, or
// are left to themselves; thread-local storage; programs that are started.
#include "station.h"

#include <process.h>

namespace {

const DWORD kCode = 41;

DWORD WINAPI Return(LPVOID count) {
    InterlockedIncrement(static_cast<LONG*>(count));
    return kCode;
}

DWORD WINAPI Leave(LPVOID count) {
    InterlockedIncrement(static_cast<LONG*>(count));
    ExitThread(kCode);
    return 0;
}

DWORD WINAPI WaitForEver(LPVOID event) {
    const std::wstring kept = L"released when the thread is cancelled in the wait below";
    WaitForSingleObject(event, INFINITE);
    return static_cast<DWORD>(kept.size());
}

DWORD WINAPI WaitInGroup(LPVOID events) {
    return WaitForMultipleObjects(2, static_cast<HANDLE*>(events), FALSE, INFINITE);
}

DWORD WINAPI SetAndRunOn(LPVOID event) {
    SetEvent(event);
    return 0;
}

unsigned WINAPI Begin(void* slot) {
    const DWORD index = *static_cast<DWORD*>(slot);
    TlsSetValue(index, slot);
    return TlsGetValue(index) == slot ? kCode : 0;
}

void JoinSeveral(Station& station) {
    LONG count = 0;
    HANDLE threads[4];
    for (int i = 0; i < 4; ++i) {
        threads[i] = CreateThread(nullptr, 0, i % 2 == 0 ? Return : Leave, &count, 0, nullptr);
        station.Expect(threads[i] != nullptr, "CreateThread");
    }
    for (int i = 0; i < 4; ++i) {
        station.Expect(WaitForSingleObject(threads[i], INFINITE) == WAIT_OBJECT_0, "wait for a thread");
        DWORD code = 0;
        if (i != 3) {
            station.Expect(GetExitCodeThread(threads[i], &code) != FALSE, "GetExitCodeThread");
            station.Expect(code == (i % 2 == 0 ? 0 : kCode), "exit code");
        }
        CloseHandle(threads[i]);
    }
    station.Expect(count == 4, "every thread has run");
}

void Terminate(Station& station) {
    HANDLE events[2] = {CreateEvent(nullptr, TRUE, FALSE, nullptr),
                        CreateEvent(nullptr, TRUE, FALSE, nullptr)};
    HANDLE threads[] = {CreateThread(nullptr, 0, WaitForEver, events[0], 0, nullptr),
                        CreateThread(nullptr, 0, WaitInGroup, events, 0, nullptr),
                        CreateThread(nullptr, 0, WaitForEver, events[1], CREATE_SUSPENDED, nullptr)};
    for (HANDLE thread : threads) {
        station.Expect(TerminateThread(thread, 1) != FALSE, "TerminateThread");
        station.Expect(WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0,
                       "wait for a terminated thread");
        CloseHandle(thread);
    }
    for (HANDLE event : events)
        CloseHandle(event);
}

void LeaveRunning(Station& station) {
    HANDLE done = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    HANDLE thread = CreateThread(nullptr, 0, SetAndRunOn, done, 0, nullptr);
    station.Expect(thread != nullptr, "CreateThread");
    CloseHandle(thread); // while it may still run, or before it has begun
    station.Expect(WaitForSingleObject(done, INFINITE) == WAIT_OBJECT_0, "wait for a thread left to itself");
    CloseHandle(done);
}

void UseLocalStorage(Station& station) {
    DWORD slot = TlsAlloc();
    HANDLE thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Begin, &slot, 0, nullptr));
    station.Expect(WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0, "wait for _beginthreadex");
    DWORD code = 0;
    station.Expect(GetExitCodeThread(thread, &code) && code == kCode, "result of _beginthreadex");
    CloseHandle(thread);
    station.Expect(TlsFree(slot) != FALSE, "TlsFree");
}

void StartProgram(Station& station) {
    WCHAR line[] = L"of no use";
    PROCESS_INFORMATION information = {};
    station.Expect(CreateProcess(L"\\bin\\true", line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                                 &information) != FALSE,
                   "CreateProcess");
    if (station.OneIn(2))
        station.Expect(WaitForSingleObject(information.hThread, INFINITE) == WAIT_OBJECT_0,
                       "wait for a program to be on its way");
    CloseHandle(information.hThread); // collects the helper that started it, if the wait has not
}

} // namespace

void ThreadsStep(Station& station) {
    JoinSeveral(station);
    Terminate(station);
    LeaveRunning(station);
    UseLocalStorage(station);
    if (station.OneIn(20))
        StartProgram(station);
}
