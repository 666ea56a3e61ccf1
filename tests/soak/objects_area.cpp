// Events, mutexes and semaphores, with names and without, waited for alone and in groups.
#include "station.h"

namespace {

void UseUnnamed(Station& station) {
    HANDLE event = CreateEvent(nullptr, FALSE, TRUE, nullptr);
    HANDLE mutex = CreateMutex(nullptr, TRUE, nullptr);
    HANDLE semaphore = CreateSemaphore(nullptr, 0, 3, nullptr);
    HANDLE all[] = {event, mutex, semaphore};

    station.Expect(WaitForMultipleObjects(2, all, FALSE, INFINITE) == WAIT_OBJECT_0 + 1,
                   "any: the own mutex");
    station.Expect(WaitForMultipleObjects(3, all, TRUE, 1) == WAIT_TIMEOUT, "all: the semaphore is empty");
    station.Expect(SetEvent(event) && ReleaseSemaphore(semaphore, 2, nullptr), "signal");
    station.Expect(WaitForMultipleObjects(3, all, TRUE, INFINITE) == WAIT_OBJECT_0, "all");
    LONG before = -1;
    station.Expect(ReleaseSemaphore(semaphore, 1, &before) && before == 1, "count of the semaphore");
    station.Expect(ReleaseMutex(mutex) != FALSE, "ReleaseMutex");
    station.Expect(WaitForSingleObject(event, station.Random(2)) == WAIT_TIMEOUT, "the event was consumed");
    for (HANDLE handle : all)
        CloseHandle(handle);
}

void UseOwnNames(Station& station) {
    const std::wstring name = station.OwnName(L"object");
    HANDLE made = CreateEvent(nullptr, TRUE, FALSE, name.c_str());
    HANDLE other = CreateMutex(nullptr, FALSE, name.c_str()); // of the same name, of another kind
    HANDLE opened = OpenEvent(EVENT_ALL_ACCESS, FALSE, name.c_str());
    station.Expect(made != nullptr && other != nullptr && opened != nullptr, "named objects");
    station.Expect(SetEvent(made) && WaitForSingleObject(opened, 0) == WAIT_OBJECT_0, "the same event");
    CloseHandle(made); // releases it for both
    station.Expect(WaitForSingleObject(opened, 0) == WAIT_FAILED, "a handle whose object is gone");
    CloseHandle(opened);
    CloseHandle(other);
    station.Expect(OpenEvent(EVENT_ALL_ACCESS, FALSE, name.c_str()) == nullptr, "the name is free again");
}

// All stations use these names: whose object it is, and whether it still exists, changes at any moment.
void ShareNames(Station& station) {
    const std::wstring name = L"shared " + std::to_wstring(station.Random(4));
    HANDLE event = CreateEvent(nullptr, station.OneIn(2), station.OneIn(2), name.c_str());
    HANDLE semaphore = CreateSemaphore(nullptr, 1, 5, name.c_str());
    HANDLE mutex = CreateMutex(nullptr, FALSE, name.c_str());
    const HANDLE all[] = {event, semaphore, mutex};
    SetEvent(event);
    ReleaseSemaphore(semaphore, 1, nullptr);
    WaitForMultipleObjects(3, all, station.OneIn(2), station.Random(3));
    if (WaitForSingleObject(mutex, 1) == WAIT_OBJECT_0)
        ReleaseMutex(mutex);
    for (HANDLE handle : all)
        CloseHandle(handle);
}

struct Exchange {
    HANDLE there;
    HANDLE back;
};

DWORD WINAPI Answer(LPVOID exchange) {
    const Exchange& handles = *static_cast<Exchange*>(exchange);
    for (int i = 0; i < 100; ++i) {
        WaitForSingleObject(handles.there, INFINITE);
        SetEvent(handles.back);
    }
    return 0;
}

void PassToAndFro(Station& station) {
    Exchange handles = {CreateEvent(nullptr, FALSE, FALSE, nullptr),
                        CreateEvent(nullptr, FALSE, FALSE, nullptr)};
    HANDLE never = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    HANDLE partner = CreateThread(nullptr, 0, Answer, &handles, 0, nullptr);
    const HANDLE waited[] = {handles.back, never};
    for (int i = 0; i < 100; ++i) {
        SetEvent(handles.there);
        const DWORD seen = i % 2 == 0 ? WaitForMultipleObjects(2, waited, FALSE, INFINITE)
                                      : WaitForSingleObject(handles.back, INFINITE);
        station.Expect(seen == WAIT_OBJECT_0, "an answer");
    }
    WaitForSingleObject(partner, INFINITE);
    for (HANDLE handle : {partner, handles.there, handles.back, never})
        CloseHandle(handle);
}

void UseSection(Station& station) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    LeaveCriticalSection(&section);
    station.Expect(TryEnterCriticalSection(&section) != FALSE, "TryEnterCriticalSection");
    LeaveCriticalSection(&section);
    DeleteCriticalSection(&section);
}

} // namespace

void ObjectsStep(Station& station) {
    UseUnnamed(station);
    UseOwnNames(station);
    ShareNames(station);
    UseSection(station);
    if (station.OneIn(10))
        PassToAndFro(station);
}
