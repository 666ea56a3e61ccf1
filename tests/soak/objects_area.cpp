// Events, mutexes and semaphores, with names and without, waited for alone and in groups.
#include "soak.h"

namespace {

void UseUnnamed() {
    HANDLE event = CreateEvent(nullptr, FALSE, TRUE, nullptr);
    HANDLE mutex = CreateMutex(nullptr, TRUE, nullptr);
    HANDLE semaphore = CreateSemaphore(nullptr, 0, 3, nullptr);
    HANDLE all[] = {event, mutex, semaphore};
    Expect(WaitForMultipleObjects(3, all, TRUE, 1) == WAIT_TIMEOUT, "all: the semaphore is empty");
    SetEvent(event);
    ReleaseSemaphore(semaphore, 2, nullptr);
    Expect(WaitForMultipleObjects(3, all, TRUE, INFINITE) == WAIT_OBJECT_0, "all");
    Expect(WaitForSingleObject(event, Random(2)) == WAIT_TIMEOUT, "the event was consumed");
    for (HANDLE handle : all)
        CloseHandle(handle);
}

void UseOwnNames(const std::wstring& own) {
    HANDLE made = CreateEvent(nullptr, TRUE, FALSE, own.c_str());
    HANDLE other = CreateMutex(nullptr, FALSE, own.c_str()); // of the same name, of another kind
    HANDLE opened = OpenEvent(EVENT_ALL_ACCESS, FALSE, own.c_str());
    Expect(SetEvent(made) && WaitForSingleObject(opened, 0) == WAIT_OBJECT_0, "the same event");
    CloseHandle(made); // releases it for both
    Expect(WaitForSingleObject(opened, 0) == WAIT_FAILED, "a handle whose object is gone");
    CloseHandle(opened);
    CloseHandle(other);
    Expect(OpenEvent(EVENT_ALL_ACCESS, FALSE, own.c_str()) == nullptr, "the name is free again");
}

// All threads use these names: whose object it is, and whether it still exists, changes at any moment.
void ShareNames() {
    const std::wstring name = L"shared " + std::to_wstring(Random(4));
    HANDLE event = CreateEvent(nullptr, Random(2) == 0, Random(2) == 0, name.c_str());
    HANDLE semaphore = CreateSemaphore(nullptr, 1, 5, name.c_str());
    HANDLE mutex = CreateMutex(nullptr, FALSE, name.c_str());
    const HANDLE all[] = {event, semaphore, mutex};
    SetEvent(event);
    ReleaseSemaphore(semaphore, 1, nullptr);
    WaitForMultipleObjects(3, all, Random(2) == 0, Random(3));
    if (WaitForSingleObject(mutex, 1) == WAIT_OBJECT_0)
        ReleaseMutex(mutex);
    for (HANDLE handle : all)
        CloseHandle(handle);
}

} // namespace

void ObjectsStep(const std::wstring& own) {
    UseUnnamed();
    UseOwnNames(own);
    ShareNames();
}
