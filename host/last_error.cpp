// The last error of the reference host: one value for each thread, as on Windows.
#include <kalto/host.h>

static thread_local DWORD last_error = 0;

void PTR_SetLastError(DWORD dwErrCode) {
    last_error = dwErrCode;
}

DWORD PTR_GetLastError(void) {
    return last_error;
}
