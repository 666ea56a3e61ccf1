// The Windows exception calls on language exceptions. One record for the process: the last one raised. It
// changes hands in one exchange, so that two threads that raise at once never free the same record; what a
// thread reads from it is its own only while no other thread raises.
#include <kalto/core.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kalto {

constexpr DWORD kReservedBit = 0x10000000; // bit 28, cleared in every code

static std::atomic<EXCEPTION_RECORD*> last_record{nullptr};
static EXCEPTION_POINTERS last_pointers;

// Never smaller than the declared record, so that an application may copy it whole.
static size_t record_size(DWORD count) {
    size_t needed = offsetof(EXCEPTION_RECORD, ExceptionInformation) + count * sizeof(ULONG_PTR);
    return needed > sizeof(EXCEPTION_RECORD) ? needed : sizeof(EXCEPTION_RECORD);
}

static EXCEPTION_RECORD* new_record(DWORD count) {
    constexpr size_t most = (PTRDIFF_MAX - sizeof(EXCEPTION_RECORD)) / sizeof(ULONG_PTR);
    void* record = count <= most ? calloc(1, record_size(count)) : nullptr;
    if (record == nullptr)
        exit(1);
    return static_cast<EXCEPTION_RECORD*>(record);
}

} // namespace kalto

using namespace kalto;

void RaiseException(DWORD dwExceptionCode, DWORD dwExceptionFlags, DWORD nNumberOfArguments,
                    const ULONG_PTR* lpArguments) {
    DWORD count = lpArguments != nullptr ? nNumberOfArguments : 0;
    free(last_record.exchange(nullptr));
    EXCEPTION_RECORD* record = new_record(count);
    record->ExceptionCode = dwExceptionCode & ~kReservedBit;
    record->ExceptionFlags = dwExceptionFlags;
    record->NumberParameters = count;
    if (count > 0)
        memcpy(record->ExceptionInformation, lpArguments, count * sizeof(ULONG_PTR));
    unsigned long first = record->ExceptionInformation[0];
    free(last_record.exchange(record));
    throw first;
}

EXCEPTION_POINTERS* GetExceptionInformation(void) {
    last_pointers.ExceptionRecord = last_record.load();
    last_pointers.ContextRecord = nullptr;
    return &last_pointers;
}
