/* Start-up, last error, module hooks and diagnostics. */
#ifndef KALTO_CORE_H
#define KALTO_CORE_H

#include <kalto/types.h>

KALTO_BEGIN_DECLS

/* The last-error value of the calling thread, kept by the host (PTR_SetLastError, PTR_GetLastError). A call
 * of this library changes it only where its own description says so. Values are POSIX numbers under the
 * ERROR_ names. Thread-safe when the host's hooks are; the reference host keeps one value for each thread. */
KALTO_API void SetLastError(DWORD dwErrCode);
KALTO_API DWORD GetLastError(void);

KALTO_END_DECLS

#endif
