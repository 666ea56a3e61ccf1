// The handles of the standard streams: made on first use, guarded by handles_lock, never released.
#include "kernel/handle_record.h"
#include "porting/failure.h"

#include <fcntl.h>
#include <kalto/porting.h>
#include <mutex>

using namespace kalto;

static std::mutex handles_lock;
static HandleRecord* handles[3];

// So many openers that CloseHandle never comes to the descriptor.
constexpr LONG kNeverClosed = 0x40000000;

static void set_descriptor(HandleRecord* record, void* argument) {
    reinterpret_cast<FileRecord*>(record)->descriptor = *static_cast<int*>(argument);
    record->references += kNeverClosed;
}

HANDLE GetStdHandle(DWORD nStdHandle) {
    int descriptor = static_cast<int>(STD_INPUT_HANDLE - nStdHandle);
    if (descriptor < 0 || descriptor > 2)
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    if (fcntl(descriptor, F_GETFD) < 0)
        return nullptr;
    HANDLE handle = nullptr;
    {
        const std::lock_guard<std::mutex> held(handles_lock);
        if (handles[descriptor] == nullptr)
            create_record(HT_FILE, nullptr, set_descriptor, &descriptor, &handles[descriptor]);
        handle = handles[descriptor];
    }
    return handle != nullptr ? handle : fail(ERROR_NOT_ENOUGH_MEMORY, INVALID_HANDLE_VALUE);
}
