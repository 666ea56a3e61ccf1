/* Files, directories and modules.
 *
 * Paths take either separator. Names are converted to the multibyte text of the current locale; a name that
 * it cannot express is a failure with ERROR_INVALID_NAME. */
#ifndef KALTO_FS_H
#define KALTO_FS_H

#include <kalto/types.h>
#include <stdio.h>

KALTO_BEGIN_DECLS

/* Access. GENERIC_EXECUTE and 0 open for reading. */
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define GENERIC_EXECUTE 0x20000000u
#define GENERIC_ALL 0x10000000u
#define FILE_READ_DATA 0x0001u
#define FILE_WRITE_DATA 0x0002u
#define FILE_APPEND_DATA 0x0004u

/* Sharing: accepted, without effect. Other openers are never locked out. */
#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u
#define FILE_SHARE_DELETE 0x00000004u

/* What to do when the file exists, and when it does not. */
#define CREATE_NEW 1        /* fail with ERROR_FILE_EXISTS / create */
#define CREATE_ALWAYS 2     /* empty it, last error ERROR_ALREADY_EXISTS / create, last error 0 */
#define OPEN_EXISTING 3     /* open / fail with ERROR_FILE_NOT_FOUND */
#define OPEN_ALWAYS 4       /* open, last error ERROR_ALREADY_EXISTS / create, last error 0 */
#define TRUNCATE_EXISTING 5 /* empty it (needs GENERIC_WRITE) / fail with ERROR_FILE_NOT_FOUND */

/* Attributes, with this library's own values. */
#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000002u
#define FILE_ATTRIBUTE_NORMAL 0x80000000u
#define FILE_ATTRIBUTE_HIDDEN 0x80000000u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

/* Flags. FILE_FLAG_WRITE_THROUGH has a value of its own, because the usual one is an attribute here;
 * FILE_FLAG_BACKUP_SEMANTICS lets a directory be opened. The others are accepted without effect: in
 * particular a file opened with FILE_FLAG_DELETE_ON_CLOSE stays. */
#define FILE_FLAG_WRITE_THROUGH 0x00400000u
#define FILE_FLAG_OVERLAPPED 0x40000000u
#define FILE_FLAG_NO_BUFFERING 0x20000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_FLAG_POSIX_SEMANTICS 0x01000000u

/* Where SetFilePointer counts from. */
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu

/* Overlapped transfers are not offered; the record exists so that ported source compiles. */
typedef struct _OVERLAPPED {
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;
    DWORD Offset;
    DWORD OffsetHigh;
    HANDLE hEvent;
} OVERLAPPED, *LPOVERLAPPED;

/* The calls from here to _wfopen are performed by the host: each passes its arguments to the hook of the same
 * name
 * (<kalto/host.h>, where the reference host's choices are written down) and returns its result. What follows
 * holds with the reference host. Each returns the failure value named and sets the last error to the POSIX
 * number of the cause; success leaves the last error alone unless said otherwise. A null name, buffer or
 * count is refused with ERROR_INVALID_PARAMETER. All block and are thread-safe. */

/* Opens or creates a file. Returns a handle that CloseHandle releases, or INVALID_HANDLE_VALUE. dwShareMode,
 * lpSecurityAttributes and hTemplateFile are not looked at. A file is created readable and writable, or
 * read-only with FILE_ATTRIBUTE_READONLY, less the process's umask. Processes made with handle inheritance
 * inherit the file. */
KALTO_API HANDLE WINAPI CreateFile(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
#define CreateFileW CreateFile

/* Transfers bytes at the file's position and moves it; the count transferred is stored in every case. Reading
 * returns TRUE with fewer bytes at the end of a file (0 at the end itself) and as soon as a pipe or terminal
 * has some. Writing returns FALSE, with the count that did reach the file, when not all did. lpOverlapped
 * must be null, otherwise ERROR_NOT_SUPPORTED. A signal that interrupts the transfer does not end it. */
KALTO_API BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                               LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);
KALTO_API BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                                LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);

/* Copies a file with its permissions and its time of last change. An existing target is replaced in one step
 * when the copy is complete, or, with bFailIfExists, left alone (ERROR_FILE_EXISTS). After a failure the
 * target is as it was. */
KALTO_API BOOL WINAPI CopyFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists);
#define CopyFileW CopyFile

/* Gives a file or directory another name. Fails with ERROR_ALREADY_EXISTS when the new name is taken. A file,
 * but not a directory (ERROR_NOT_SAME_DEVICE), may move to another file system: it is copied and flushed
 * before the old one goes.
 */
KALTO_API BOOL WINAPI MoveFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName);
#define MoveFileW MoveFile

/* Deletes a file. A read-only file is kept (ERROR_ACCESS_DENIED). Unlike on Windows an open file may be
 * deleted: it loses its name at once and its data when the last handle is closed. */
KALTO_API BOOL WINAPI DeleteFile(LPCWSTR lpFileName);
#define DeleteFileW DeleteFile

/* Makes a directory whose parent exists; removes one that is empty (else ERROR_DIR_NOT_EMPTY) and not
 * read-only (else ERROR_ACCESS_DENIED). lpSecurityAttributes is not looked at. */
KALTO_API BOOL WINAPI CreateDirectory(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes);
KALTO_API BOOL WINAPI RemoveDirectory(LPCWSTR lpPathName);
#define CreateDirectoryW CreateDirectory
#define RemoveDirectoryW RemoveDirectory

/* Open a stream for the C library's calls; the caller closes it with fclose. path is multibyte text of the
 * current locale for KaltoFopen, which passes it to the host with the backslashes that it has. Null on
 * failure. */
KALTO_API FILE* KaltoFopen(const char* path, const char* mode);
KALTO_API FILE* _wfopen(const wchar_t* path, const wchar_t* mode);

KALTO_END_DECLS

#endif
