/* The hooks that an application must supply, by linking the reference host (libkaltohost) or by exporting
 * functions of its own under these names.
 *
 * Each performs the Windows call that it is named after, with the same arguments, result and failure value.
 * What is said of each is how the reference host does it; <kalto/fs.h> says what applications see. In the
 * reference host a failing call sets the last error to the POSIX number of the cause, null arguments are
 * refused with ERROR_INVALID_PARAMETER, backslashes in paths are taken as slashes, a text that the current
 * locale cannot express is refused with ERROR_INVALID_NAME, and all hooks are thread-safe. */
#ifndef KALTO_HOST_H
#define KALTO_HOST_H

#include <kalto/fs.h>
#include <kalto/types.h>

KALTO_BEGIN_DECLS

/* The record behind a file handle. PTR_CreateFile makes it with create_handle(0, null, &handle) and fills in
 * the fields after the head; the library's own file calls read them. CloseHandle closes the descriptor unless
 * it is negative and frees both pointers with free. */
typedef struct KaltoFileRecord {
    uint32_t type;      /* 0; set by create_handle */
    int32_t references; /* set by create_handle, changed with the Interlocked calls only */
    int32_t descriptor; /* the open file, or -1 */
    void* data;         /* null, but for a file mapping */
    char* path;         /* the file's name as the system knows it, from malloc */
} KaltoFileRecord;

/* Keeps and returns the last error, for each thread or for the process as the host decides. */
KALTO_API void PTR_SetLastError(DWORD dwErrCode);
KALTO_API DWORD PTR_GetLastError(void);

/* The name of the process's effective user; its number, as text, when it has no name. *lpnSize is the room in
 * characters, and becomes the length with the terminator: of the name stored, or of the room that is needed
 * (FALSE, ERROR_INSUFFICIENT_BUFFER). */
KALTO_API BOOL PTR_GetUserName(LPWSTR lpBuffer, LPDWORD lpnSize);

/* The network name of the machine. *lpnSize is the room in characters, and becomes the length without the
 * terminator; or, when there is too little room (FALSE, ERROR_INSUFFICIENT_BUFFER), the room that is needed.
 */
KALTO_API BOOL PTR_GetHostName(LPWSTR lpBuffer, LPDWORD lpnSize);

/* Makes the first dwLength characters of lpName the network name of the machine, until it restarts. */
KALTO_API BOOL PTR_SetHostName(LPCWSTR lpName, DWORD dwLength);

/* INVALID_HANDLE_VALUE on failure. The descriptor is passed on to programs that the process starts. */
KALTO_API HANDLE PTR_CreateFile(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                                LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                                DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);

/* A handle that is not a file's is refused with ERROR_INVALID_HANDLE. */
KALTO_API BOOL PTR_ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                            LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);
KALTO_API BOOL PTR_WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                             LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);

KALTO_API BOOL PTR_DeleteFile(LPCWSTR lpFileName);
KALTO_API BOOL PTR_CopyFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists);
KALTO_API BOOL PTR_MoveFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName);
KALTO_API BOOL PTR_CreateDirectory(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes);
KALTO_API BOOL PTR_RemoveDirectory(LPCWSTR lpPathName);

/* path is multibyte text of the current locale. Null on failure. */
KALTO_API FILE* PTR_KaltoFopen(const char* path, const char* mode);

KALTO_END_DECLS

#endif
