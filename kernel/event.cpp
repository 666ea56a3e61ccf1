// Events.
#include "kernel/guard.h"
#include "kernel/sync_object.h"

namespace kalto {

struct EventArguments {
    BOOL manual_reset;
    BOOL initial_state;
};

static void init_event(HandleRecord* record, void* argument) {
    auto& event = *reinterpret_cast<SyncRecord*>(record);
    const auto& arguments = *static_cast<const EventArguments*>(argument);
    init_sync(event);
    event.state = static_cast<DWORD>(arguments.initial_state);
    event.manual_reset = static_cast<DWORD>(arguments.manual_reset);
}

static SyncRecord* event_of(HANDLE handle) {
    SyncRecord* const object = sync_record_of(handle);
    return object != nullptr && object->head.type == HT_EVENT ? object : nullptr;
}

// Behind both of a pair of names, so that neither call goes through the other's.
static BOOL set(HANDLE handle) {
    pthread_testcancel();
    SyncRecord* const event = event_of(handle);
    if (event == nullptr)
        return FALSE;
    WakeList woken;
    const Guard held(event->guard);
    if (event->closed)
        return FALSE;
    set_state(*event, woken);
    return TRUE;
}

static BOOL reset(HANDLE handle) {
    pthread_testcancel();
    SyncRecord* const event = event_of(handle);
    if (event == nullptr)
        return FALSE;
    const Guard held(event->guard);
    if (event->closed)
        return FALSE;
    event->state = 0;
    return TRUE;
}

} // namespace kalto

HANDLE CreateEvent(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                   LPCWSTR lpName) {
    UNREFERENCED_PARAMETER(lpEventAttributes);
    kalto::EventArguments arguments{bManualReset, bInitialState};
    kalto::HandleRecord* record = nullptr;
    kalto::create_record(HT_EVENT, lpName, kalto::init_event, &arguments, &record);
    return record;
}

BOOL KaltoSetEvent(HANDLE hEvent) {
    return kalto::set(hEvent);
}

BOOL KaltoResetEvent(HANDLE hEvent) {
    return kalto::reset(hEvent);
}

BOOL SetEvent(HANDLE hEvent) {
    return kalto::set(hEvent);
}

BOOL ResetEvent(HANDLE hEvent) {
    return kalto::reset(hEvent);
}

// Deliberate: does nothing; applications test the result and set and reset by themselves.
BOOL PulseEvent(HANDLE hEvent) {
    UNREFERENCED_PARAMETER(hEvent);
    return FALSE;
}
