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
} OVERLAPPED, *POVERLAPPED, *LPOVERLAPPED;

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
 * when the copy is complete, and keeps its owner; with bFailIfExists it is left alone (ERROR_FILE_EXISTS).
 * After a failure the target is as it was; a process that is killed may leave a hidden file ".kalto-copy-..."
 * beside it. */
KALTO_API BOOL WINAPI CopyFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists);
#define CopyFileW CopyFile

/* Gives a file or directory another name. Fails with ERROR_ALREADY_EXISTS when the new name is taken. A file,
 * but not a directory (ERROR_NOT_SAME_DEVICE), may move to another file system: it is copied, with its owner
 * where the process may do that, and flushed to the disk before the old one goes. */
KALTO_API BOOL WINAPI MoveFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName);
#define MoveFileW MoveFile

/* Deletes a file. A read-only file is kept (ERROR_ACCESS_DENIED); SetFileAttributes(name, 0) makes it
 * writable, and no other value does. Unlike on Windows an open file may be deleted: it loses its name at once
 * and its data when the last handle is closed. */
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

/* The calls from here on are the library's own. None changes the last error unless it says so. A null,
 * invalid or foreign handle and a null path are refused with the failure result. They are thread-safe, but
 * one search belongs to one thread at a time. All but UnmapViewOfFile, CompareFileTime and the version
 * record's own calls may block on the file system. */

/* ---- Open files ---- */

/* Moves the position of a file and returns the new one, or INVALID_SET_FILE_POINTER when that is not
 * possible. The distance is signed; lpDistanceToMoveHigh is ignored, so one call moves by less than 2 GB.
 * Returns 0 for a refused handle. */
KALTO_API DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh,
                                      DWORD dwMoveMethod);

/* Cuts or extends a file to its position. */
KALTO_API BOOL WINAPI SetEndOfFile(HANDLE hFile);

/* Returns when everything written to the file is on its medium. */
KALTO_API BOOL WINAPI FlushFileBuffers(HANDLE hFile);

/* Returns the lower 32 bits of the size and keeps the position; INVALID_FILE_SIZE when there is none (a
 * pipe). Stores 0 through lpFileSizeHigh, which may be null, and makes the last error 0. Returns 0, the last
 * error untouched, for a refused handle. */
KALTO_API DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh);

/* Store when a file's status was changed last (there is no time of creation), when it was read and when it
 * was written, in whole seconds, where the pointer is not null. */
KALTO_API BOOL WINAPI GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                                  LPFILETIME lpLastWriteTime);

/* Sets the last access and write time, in whole seconds, where the pointer is not null; the creation time is
 * ignored. Differs from Windows: only for a file that the process may not write; a file that it may write
 * keeps its times, and the result is FALSE. FALSE too for a time outside 1901-12-13 to 2038-01-19. */
KALTO_API BOOL WINAPI SetFileTime(HANDLE hFile, const FILETIME* lpCreationTime,
                                  const FILETIME* lpLastAccessTime, const FILETIME* lpLastWriteTime);

/* -1, 0 or 1 as the first time is earlier, the same or later. 0 when one of them is null. */
KALTO_API LONG WINAPI CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2);

typedef struct _BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes; /* FILE_ATTRIBUTE_ values, never FILE_ATTRIBUTE_HIDDEN for its own sake */
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
} BY_HANDLE_FILE_INFORMATION, *PBY_HANDLE_FILE_INFORMATION, *LPBY_HANDLE_FILE_INFORMATION;

/* Stores what is known of an open file; of a file that the system does not answer for, zeros. TRUE unless an
 * argument is refused. Differs from Windows: the creation time is the one of the last write; each time is
 * later than the file's by 100 nanoseconds for every 100 seconds since 1970 (about two seconds today);
 * nFileSizeHigh is 0. */
KALTO_API BOOL WINAPI GetFileInformationByHandle(HANDLE hFile,
                                                 LPBY_HANDLE_FILE_INFORMATION lpFileInformation);

/* ---- Attributes ---- */

/* FILE_ATTRIBUTE_DIRECTORY for a directory, else FILE_ATTRIBUTE_NORMAL; with FILE_ATTRIBUTE_READONLY when
 * nobody may write it, and with FILE_ATTRIBUTE_HIDDEN when DIR_is_hidden_file says so.
 * INVALID_FILE_ATTRIBUTES with the last error when there is no such file, and for character devices and pipes
 * (ERROR_NOT_SUPPORTED); a block device and a socket count as directories. The values are this library's own:
 * a hidden plain file cannot be told from a visible one. */
KALTO_API DWORD WINAPI GetFileAttributes(LPCWSTR lpFileName);
#define GetFileAttributesW GetFileAttributes

/* 0 makes a file readable, writable and executable for its owner; any other value, FILE_ATTRIBUTE_NORMAL
 * included, makes it readable and executable, but not writable. A privileged process gives the file to user
 * and group 500, the device's applications. FALSE with the last error. */
KALTO_API BOOL WINAPI SetFileAttributes(LPCWSTR lpFileName, DWORD dwFileAttributes);
#define SetFileAttributesW SetFileAttributes

/* Whether the last component of a path begins with a dot, and is neither "." nor "..". Separators at the end
 * are passed over. Looks at the text alone; FALSE for null. */
KALTO_API BOOL DIR_is_hidden_file(LPCWSTR lpPath);

/* ---- Directories ---- */

/* What a search finds. Differs from Windows: dwFileAttributes is the file's mode (st_mode: 0x4000 for a
 * directory, 0x8000 for a file), not FILE_ATTRIBUTE_ values; ftCreationTime is when the status changed last;
 * nFileSizeHigh is 0. */
typedef struct _WIN32_FIND_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    WCHAR cFileName[MAX_PATH];
} WIN32_FIND_DATA, *PWIN32_FIND_DATA, *LPWIN32_FIND_DATA;
typedef WIN32_FIND_DATA WIN32_FIND_DATAW, *PWIN32_FIND_DATAW, *LPWIN32_FIND_DATAW;

/* Begin a search with the first match and go on to the next, in the order of the directory; "." and ".." are
 * matched too. lpFileName is a directory, to list all of it, or a directory and a pattern of the shell's
 * kind: "*", "?",
 * "[a-z]"; case counts, and "*.*" matches only names with a dot. FindFirstFile returns a handle that
 * FindClose releases, or INVALID_HANDLE_VALUE when nothing matches or the directory cannot be read;
 * FindNextFile FALSE at the end. FALSE also stands for a match that cannot be looked at (a link to nothing)
 * or whose name the locale cannot express: a further call goes on behind it. Nothing is stored then. Files
 * that others remove meanwhile are passed over. */
KALTO_API HANDLE WINAPI FindFirstFile(LPCWSTR lpFileName, LPWIN32_FIND_DATA lpFindFileData);
KALTO_API BOOL WINAPI FindNextFile(HANDLE hFindFile, LPWIN32_FIND_DATA lpFindFileData);
#define FindFirstFileW FindFirstFile
#define FindNextFileW FindNextFile

/* CloseHandle. */
KALTO_API BOOL WINAPI FindClose(HANDLE hFindFile);

/* Stand-ins: changes are not watched, and the handle is never signalled. FindFirstChangeNotification returns
 * null (not INVALID_HANDLE_VALUE) when the directory cannot be read; the handle can be searched with
 * FindNextFile. */
KALTO_API HANDLE WINAPI FindFirstChangeNotification(LPCWSTR lpPathName, BOOL bWatchSubtree,
                                                    DWORD dwNotifyFilter);
KALTO_API BOOL WINAPI FindNextChangeNotification(HANDLE hChangeHandle);
KALTO_API BOOL WINAPI FindCloseChangeNotification(HANDLE hChangeHandle);
#define FindFirstChangeNotificationW FindFirstChangeNotification
#define FILE_NOTIFY_CHANGE_FILE_NAME 0x00000001u
#define FILE_NOTIFY_CHANGE_DIR_NAME 0x00000002u
#define FILE_NOTIFY_CHANGE_ATTRIBUTES 0x00000004u
#define FILE_NOTIFY_CHANGE_SIZE 0x00000008u
#define FILE_NOTIFY_CHANGE_LAST_WRITE 0x00000010u

/* ---- Moving with options ---- */

#define MOVEFILE_REPLACE_EXISTING 0x00000001u
#define MOVEFILE_COPY_ALLOWED 0x00000002u
#define MOVEFILE_DELAY_UNTIL_REBOOT 0x00000004u
#define MOVEFILE_WRITE_THROUGH 0x00000008u
#define MOVEFILE_CREATE_HARDLINK 0x00000010u

/* With MOVEFILE_COPY_ALLOWED CopyFile, then DeleteFile of the old name (whose failure is not reported);
 * otherwise MoveFile. FALSE with the last error 19 for MOVEFILE_DELAY_UNTIL_REBOOT and
 * MOVEFILE_CREATE_HARDLINK, else with that of the host's call. Differs from Windows: an existing target is
 * replaced by MOVEFILE_COPY_ALLOWED alone; with MOVEFILE_REPLACE_EXISTING beside it the target is kept and
 * the move fails. */
KALTO_API BOOL WINAPI MoveFileEx(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags);
#define MoveFileExW MoveFileEx

/* ---- Free space ---- */

/* Store in bytes what the caller may still use, the whole size and what is free, where the pointer is not
 * null, of the file system that holds the directory; null means "/var/zel". */
KALTO_API BOOL WINAPI GetDiskFreeSpaceEx(LPCWSTR lpDirectoryName,
                                         PULARGE_INTEGER lpFreeBytesAvailableToCaller,
                                         PULARGE_INTEGER lpTotalNumberOfBytes,
                                         PULARGE_INTEGER lpTotalNumberOfFreeBytes);
#define GetDiskFreeSpaceExW GetDiskFreeSpaceEx

typedef struct STORE_INFORMATION {
    DWORD dwStoreSize;
    DWORD dwFreeSize;
} STORE_INFORMATION, *LPSTORE_INFORMATION;

/* Stores size and free space of the file system that holds "/var/zel", in bytes, the lower 32 bits of each.
 */
KALTO_API BOOL WINAPI GetStoreInformation(LPSTORE_INFORMATION lpsi);

/* ---- Mappings ---- */

#define PAGE_READONLY 0x02u
#define PAGE_READWRITE 0x04u
#define PAGE_WRITECOPY 0x08u
#define FILE_MAP_COPY 0x0001u
#define FILE_MAP_WRITE 0x0002u
#define FILE_MAP_READ 0x0004u
#define FILE_MAP_ALL_ACCESS 0x001Fu

/* A block of dwMaximumSizeLow bytes of the process's memory, zero at first, that every call with the same
 * name shares; the first call decides its size. Returns a handle that CloseHandle releases (see there for
 * named objects), or null without a name or memory. Differs from Windows: no file and no other process takes
 * part, and the other arguments are ignored. */
KALTO_API HANDLE WINAPI CreateFileMapping(HANDLE hFile, LPSECURITY_ATTRIBUTES lpAttributes, DWORD flProtect,
                                          DWORD dwMaximumSizeHigh, DWORD dwMaximumSizeLow, LPCWSTR lpName);
#define CreateFileMappingW CreateFileMapping

/* The address of the mapping's memory from an offset on; null beyond its end and for a refused handle. The
 * other arguments are ignored. It is good until the mapping is closed (on Windows: until it is unmapped). */
KALTO_API LPVOID WINAPI MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess,
                                      DWORD dwFileOffsetHigh, DWORD dwFileOffsetLow,
                                      SIZE_T dwNumberOfBytesToMap);

/* Does nothing: TRUE. */
KALTO_API BOOL WINAPI UnmapViewOfFile(LPCVOID lpBaseAddress);

/* ---- Modules ---- */

/* Loads a shared object under a Windows-style name and returns a handle that FreeLibrary releases, or null
 * (dlerror then knows why). dir\foo.dll is looked for as dir/foo.dll, dir/libfoo.so and dir/libfoo, without a
 * directory where the dynamic loader looks. A name that is empty or holds ".exe" or ".elf" means the running
 * program. Runs the module's constructors, but not DllMain: modules call KaltoDllInit themselves. */
KALTO_API HMODULE WINAPI LoadLibrary(LPCWSTR lpLibFileName);
#define LoadLibraryW LoadLibrary

/* The address of a symbol that the module or a module that it needs exports; null when there is none. Numbers
 * in place of names find nothing. */
KALTO_API FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCWSTR lpProcName);
KALTO_API FARPROC WINAPI GetProcAddressA(HMODULE hModule, LPCSTR lpProcName);
#define GetProcAddressW GetProcAddress

/* Releases the handle and what LoadLibrary loaded for it; the last release unloads the module. */
KALTO_API BOOL WINAPI FreeLibrary(HMODULE hLibModule);

/* Stores the path of the running program, whatever the module, with backslashes, and returns its length.
 * Where that and a terminator do not fit in nSize characters it is cut to nSize - 1, the last error is 36 and
 * nSize is returned. -1 when the path cannot be read or lpFilename is null. */
KALTO_API DWORD WINAPI GetModuleFileName(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);
#define GetModuleFileNameW GetModuleFileName

/* ---- Version records ---- */

/* The library's own layout. */
typedef struct tagVS_FIXEDFILEINFO {
    DWORD dwFileVersionMS; /* major, minor */
    DWORD dwFileVersionLS; /* build, revision */
    DWORD dwFileFlags;     /* 0 */
} VS_FIXEDFILEINFO;

/* Stores a VS_FIXEDFILEINFO through lpData, which must have room for it whatever dwLen says. The version is
 * what the module exports as "__lib_ver" (four 32-bit integers); where there is none it is made of the UTC
 * time of the file's last change (years since 1900, months since January; day, hour * 100 + minute), and
 * where there is no such file of that of the running program. A module is loaded for the time of the call,
 * its constructors run. FALSE when nothing is found. */
KALTO_API BOOL WINAPI GetFileVersionInfo(LPCWSTR lptstrFilename, DWORD dwHandle, DWORD dwLen, LPVOID lpData);
#define GetFileVersionInfoW GetFileVersionInfo

/* Returns 12, the size of a record, for any name, and stores 0 through lpdwHandle, which may be null. */
KALTO_API DWORD WINAPI GetFileVersionInfoSize(LPCWSTR lptstrFilename, LPDWORD lpdwHandle);
#define GetFileVersionInfoSizeW GetFileVersionInfoSize

/* Hands back the record: stores pBlock, and 12 through puLen, which may be null. lpSubBlock is ignored. FALSE
 * when lplpBuffer is null. */
KALTO_API BOOL WINAPI VerQueryValue(LPCVOID pBlock, LPCWSTR lpSubBlock, LPVOID* lplpBuffer, PUINT puLen);
#define VerQueryValueW VerQueryValue

KALTO_END_DECLS

#endif
