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

/* Installs the crash report for every fatal signal, once in a process: later calls install nothing. Signals
 * 2, 9, 15, 17 to 22 and 28 are left as they are, 13, 14 and 27 are ignored, and all others up to 64 print a
 * report on standard error and end the process with status 1. Called by main, by create_handle and by the
 * calls that make threads and processes; a program with a main of its own may call it first thing. Also gives
 * the calling thread a signal stack, if it has none, so that a stack overflow is reported. Thread-safe;
 * leaves the last error alone. */
KALTO_API void InstallSignalHandlers(void);

/* Writes what signal sig does at present into buf: "SIGPIPE (13): " and then "application" for the crash
 * report, "default", "ignored", or "unknown (0x...)" with the address of another handler. buf must hold 64
 * characters. Returns 1, or 0 with buf untouched when there is no such signal or buf is null. Thread-safe;
 * leaves the last error alone. */
KALTO_API int GetSignalVector(int sig, char* buf);

KALTO_END_DECLS

#endif
