// The last error is the host's: the library stores none of its own.
#include <kalto/core.h>
#include <kalto/host.h>

void SetLastError(DWORD dwErrCode) {
    PTR_SetLastError(dwErrCode);
}

DWORD GetLastError(void) {
    return PTR_GetLastError();
}
