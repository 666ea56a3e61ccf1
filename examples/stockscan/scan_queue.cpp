#include "scan_queue.h"

ScanQueue::ScanQueue(DWORD places)
    : free_(CreateSemaphore(nullptr, static_cast<LONG>(places), static_cast<LONG>(places), nullptr)),
      filled_(CreateSemaphore(nullptr, 0, static_cast<LONG>(places), nullptr)),
      ended_(CreateEvent(nullptr, TRUE, FALSE, nullptr)), stop_(CreateEvent(nullptr, TRUE, FALSE, nullptr)) {
    InitializeCriticalSection(&guard_);
}

ScanQueue::~ScanQueue() {
    DeleteCriticalSection(&guard_);
    for (HANDLE handle : {free_, filled_, ended_, stop_})
        CloseHandle(handle);
}

bool ScanQueue::Complete() const {
    return free_ != nullptr && filled_ != nullptr && ended_ != nullptr && stop_ != nullptr;
}

bool ScanQueue::Put(const std::string& code) {
    const HANDLE freeOrStop[] = {free_, stop_};
    if (Stopped() || WaitForMultipleObjects(2, freeOrStop, FALSE, INFINITE) != WAIT_OBJECT_0)
        return false;
    EnterCriticalSection(&guard_);
    codes_.push_back(code);
    LeaveCriticalSection(&guard_);
    ReleaseSemaphore(filled_, 1, nullptr);
    return true;
}

bool ScanQueue::Take(std::string& code) {
    const HANDLE endedFilledOrStop[] = {ended_, filled_, stop_};
    if (Stopped())
        return false;
    const DWORD signalled = WaitForMultipleObjects(3, endedFilledOrStop, FALSE, INFINITE);
    // Which of several signalled objects is reported differs between systems, and the last code may come
    // between the looks at two of them: at the end the queue is looked at once more.
    if (signalled == WAIT_OBJECT_0 && WaitForSingleObject(filled_, 0) != WAIT_OBJECT_0)
        return false;
    if (signalled != WAIT_OBJECT_0 && signalled != WAIT_OBJECT_0 + 1)
        return false;
    EnterCriticalSection(&guard_);
    code.swap(codes_.front());
    codes_.pop_front();
    LeaveCriticalSection(&guard_);
    ReleaseSemaphore(free_, 1, nullptr);
    return true;
}

void ScanQueue::End() {
    SetEvent(ended_);
}

void ScanQueue::Stop() {
    SetEvent(stop_);
}

bool ScanQueue::Stopped() const {
    return WaitForSingleObject(stop_, 0) == WAIT_OBJECT_0;
}
