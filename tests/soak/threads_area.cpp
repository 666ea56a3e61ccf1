// Threads that leave by ExitThread, are terminated in a wait or before they ever ran, or return left to
// themselves; thread-local storage; programs that are started.
#include "soak.h"

#include <process.h>

namespace {

const DWORD kCode = 41;

DWORD WINAPI WaitForEver(LPVOID event) {
    const std::wstring kept = L"released when the thread is cancelled in the wait below";
    WaitForSingleObject(event, INFINITE);
    return static_cast<DWORD>(kept.size());
}

DWORD WINAPI WaitInGroup(LPVOID event) {
    return WaitForMultipleObjects(1, &event, TRUE, INFINITE);
}

unsigned WINAPI UseSlot(void* slot) {
    const DWORD index = *static_cast<DWORD*>(slot);
    TlsSetValue(index, slot);
    if (TlsGetValue(index) == slot)
        ExitThread(kCode);
    return 0;
}

void Leave() {
    DWORD slot = TlsAlloc();
    DWORD code = 0;
    HANDLE thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, UseSlot, &slot, 0, nullptr));
    WaitForSingleObject(thread, INFINITE);
    Expect(Random(2) == 0 || (GetExitCodeThread(thread, &code) && code == kCode), "the exit code");
    Join(thread);
    Expect(TlsFree(slot) != FALSE, "TlsFree");
}

void Terminate() {
    HANDLE event = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    HANDLE threads[] = {CreateThread(nullptr, 0, WaitForEver, event, 0, nullptr),
                        CreateThread(nullptr, 0, WaitInGroup, event, 0, nullptr),
                        CreateThread(nullptr, 0, WaitForEver, event, CREATE_SUSPENDED, nullptr)};
    for (HANDLE thread : threads) {
        Expect(TerminateThread(thread, 1) != FALSE, "TerminateThread");
        Join(thread);
    }
    CloseHandle(event);
}

void LeaveRunning() {
    HANDLE done = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    const LPTHREAD_START_ROUTINE set = [](LPVOID event) -> DWORD { return SetEvent(event); };
    CloseHandle(CreateThread(nullptr, 0, set, done, 0, nullptr)); // before it has begun, or while it runs
    Expect(WaitForSingleObject(done, INFINITE) == WAIT_OBJECT_0, "wait for a thread left to itself");
    CloseHandle(done);
}

void StartProgram() {
    PROCESS_INFORMATION information = {};
    Expect(CreateProcess(L"\\bin\\true", nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                         &information) != FALSE,
           "CreateProcess");
    if (Random(2) == 0)
        WaitForSingleObject(information.hThread, INFINITE);
    CloseHandle(information.hThread); // collects the helper that started it, if the wait has not
}

} // namespace

void ThreadsStep(const std::wstring&) {
    Leave();
    Terminate();
    LeaveRunning();
    if (Random(20) == 0)
        StartProgram();
}
