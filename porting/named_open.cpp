// Opening kernel objects by name. An opener counts as one more create call of that name.
#include "kernel/named_objects.h"
#include "porting/failure.h"

#include <kalto/porting.h>

using namespace kalto;

static HANDLE open_by_name(DWORD type, LPCWSTR name) {
    if (name == nullptr)
        return fail(ERROR_INVALID_PARAMETER, HANDLE{});
    HANDLE object = nullptr;
    {
        const NamedObjectsLock held;
        object = open_named_object(name, type);
    }
    return object != nullptr ? object : fail(ERROR_FILE_NOT_FOUND, object);
}

HANDLE OpenEvent(DWORD /*dwDesiredAccess*/, BOOL /*bInheritHandle*/, LPCWSTR lpName) {
    return open_by_name(HT_EVENT, lpName);
}

HANDLE OpenMutex(DWORD /*dwDesiredAccess*/, BOOL /*bInheritHandle*/, LPCWSTR lpName) {
    return open_by_name(HT_MUTEX, lpName);
}

HANDLE OpenSemaphore(DWORD /*dwDesiredAccess*/, BOOL /*bInheritHandle*/, LPCWSTR lpName) {
    return open_by_name(HT_SEMAPHORE, lpName);
}

// The only files with a name among the kernel objects are mappings.
HANDLE OpenFileMapping(DWORD /*dwDesiredAccess*/, BOOL /*bInheritHandle*/, LPCWSTR lpName) {
    return open_by_name(HT_FILE, lpName);
}

BOOL FlushViewOfFile(LPCVOID lpBaseAddress, SIZE_T /*dwNumberOfBytesToFlush*/) {
    return lpBaseAddress != nullptr ? TRUE : fail(ERROR_INVALID_PARAMETER, FALSE);
}
