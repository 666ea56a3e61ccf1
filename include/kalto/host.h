/* The hooks that an application must supply, by linking the reference host (libkaltohost) or by exporting
 * functions of its own under these names. */
#ifndef KALTO_HOST_H
#define KALTO_HOST_H

#include <kalto/types.h>

KALTO_BEGIN_DECLS

/* Keeps and returns the last error, for each thread or for the process as the host decides. */
KALTO_API void PTR_SetLastError(DWORD dwErrCode);
KALTO_API DWORD PTR_GetLastError(void);

KALTO_END_DECLS

#endif
