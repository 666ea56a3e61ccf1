// The calling process and its children.
#include "kernel/handle_record.h"
#include "porting/failure.h"

#include <atomic>
#include <csignal>
#include <kalto/porting.h>

using namespace kalto;

HANDLE GetCurrentProcess(void) {
    return INVALID_HANDLE_VALUE;
}

BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode) {
    if (lpExitCode == nullptr)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    if (hProcess == INVALID_HANDLE_VALUE) {
        *lpExitCode = STILL_ACTIVE;
        return TRUE;
    }
    if (process_record_of(hProcess) == nullptr)
        return fail(ERROR_INVALID_HANDLE, FALSE);
    // The record stands for the helper that forked the program off; what that ends with says nothing of the
    // program. The code stored ends a loop that waits for another one than STILL_ACTIVE.
    *lpExitCode = 0xFFFFFFFFu;
    return fail(ERROR_NOT_SUPPORTED, FALSE);
}

UINT SetErrorMode(UINT uMode) {
    static std::atomic<UINT> mode{0};
    return mode.exchange(uMode);
}

void DebugBreak(void) {
    raise(SIGTRAP);
}
