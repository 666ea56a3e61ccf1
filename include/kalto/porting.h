/* What ordinary Windows CE source takes for granted beyond the other headers, so that it compiles unchanged.
 * New code has little need of it.
 *
 * Common to all: a call that fails sets the last error to the number named, or, where a system call failed,
 * to its POSIX number; success leaves the last error alone unless said otherwise. All are safe to call from
 * any thread unless said otherwise, and none blocks but where it says so. */
#ifndef KALTO_PORTING_H
#define KALTO_PORTING_H

#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <kalto/kernel.h>
#include <kalto/system.h>
#include <kalto/text.h>
#include <kalto/types.h>
#include <stdarg.h>
#include <stdio.h>

KALTO_BEGIN_DECLS

/* ---- Heaps and local memory ----
 *
 * There is one heap, the C library's, but for those that HeapCreate makes. A block from any of these calls,
 * and one that FormatMessage allocates, may be given back with LocalFree, HeapFree or free, as Windows CE
 * sources do; a block of a heap of one's own only with HeapFree, or together with its heap. */

#define HEAP_NO_SERIALIZE 0x00000001u
#define HEAP_GENERATE_EXCEPTIONS 0x00000004u /* ignored: a failure is null */
#define HEAP_ZERO_MEMORY 0x00000008u
#define HEAP_REALLOC_IN_PLACE_ONLY 0x00000010u

/* The handle of the one heap, never null. CloseHandle is not for it. The heap calls take any handle that is
 * not HeapCreate's for this one. */
KALTO_API HANDLE WINAPI GetProcessHeap(void);
/* A heap whose blocks HeapDestroy gives back all at once; null with ERROR_NOT_ENOUGH_MEMORY. It grows as it
 * needs to: options and sizes are ignored, the maximum too. */
KALTO_API HANDLE WINAPI HeapCreate(DWORD flOptions, SIZE_T dwInitialSize, SIZE_T dwMaximumSize);
/* Ends a heap and all its blocks, which nobody may be using. FALSE with ERROR_INVALID_HANDLE for any other
 * handle. */
KALTO_API BOOL WINAPI HeapDestroy(HANDLE hHeap);
/* A block of at least dwBytes bytes, never shared even for 0, zeroed with HEAP_ZERO_MEMORY. Null when memory
 * is out. Leaves the last error alone, as Windows does. */
KALTO_API LPVOID WINAPI HeapAlloc(HANDLE hHeap, DWORD dwFlags, SIZE_T dwBytes);
/* Grows or shrinks a block and returns its new address, or null with the block as it was when memory is out,
 * or when HEAP_REALLOC_IN_PLACE_ONLY is given and it would have to move. With HEAP_ZERO_MEMORY what is new is
 * zero. Null for a null block, too. Leaves the last error alone. */
KALTO_API LPVOID WINAPI HeapReAlloc(HANDLE hHeap, DWORD dwFlags, LPVOID lpMem, SIZE_T dwBytes);
/* TRUE; null is accepted. */
KALTO_API BOOL WINAPI HeapFree(HANDLE hHeap, DWORD dwFlags, LPVOID lpMem);
/* The bytes that were asked for; of a block that was not made by these calls, all that it has room for. -1
 * for null. */
KALTO_API SIZE_T WINAPI HeapSize(HANDLE hHeap, DWORD dwFlags, LPCVOID lpMem);

#define LMEM_FIXED 0x0000u
#define LMEM_MOVEABLE 0x0002u /* ignored: blocks never move */
#define LMEM_ZEROINIT 0x0040u
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)
#define LHND (LMEM_MOVEABLE | LMEM_ZEROINIT)

/* As the heap calls; null with ERROR_NOT_ENOUGH_MEMORY. LocalFree is in <kalto/system.h>. LocalSize is 0 for
 * null. */
KALTO_API HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes);
KALTO_API HLOCAL WINAPI LocalReAlloc(HLOCAL hMem, SIZE_T uBytes, UINT uFlags);
KALTO_API SIZE_T WINAPI LocalSize(HLOCAL hMem);
#define LocalLock(block) ((LPVOID)(block))
#define LocalUnlock(block) ((void)(block), FALSE)
#define GMEM_FIXED LMEM_FIXED
#define GMEM_MOVEABLE LMEM_MOVEABLE
#define GMEM_ZEROINIT LMEM_ZEROINIT
#define GPTR LPTR
#define GHND LHND
#define GlobalAlloc LocalAlloc
#define GlobalReAlloc LocalReAlloc
#define GlobalFree LocalFree
#define GlobalSize LocalSize
#define GlobalLock LocalLock
#define GlobalUnlock LocalUnlock

/* ---- Virtual memory ---- */

#define MEM_COMMIT 0x1000u
#define MEM_RESERVE 0x2000u
#define MEM_DECOMMIT 0x4000u
#define MEM_RELEASE 0x8000u
#define MEM_TOP_DOWN 0x100000u
#define PAGE_NOACCESS 0x01u
#define PAGE_EXECUTE 0x10u
#define PAGE_EXECUTE_READ 0x20u
#define PAGE_EXECUTE_READWRITE 0x40u
#define PAGE_EXECUTE_WRITECOPY 0x80u
#define PAGE_GUARD 0x100u
#define PAGE_NOCACHE 0x200u

/* Reserves a region of whole pages (MEM_RESERVE; not accessible until it is committed), commits pages inside
 * a region that was reserved before (MEM_COMMIT with an address in it), or does both at once (MEM_COMMIT
 * without an address, or both flags). Memory is zero at first; flProtect is a PAGE_ access, of which
 * PAGE_GUARD and PAGE_NOCACHE are ignored. Returns the address of the first page, or null:
 * ERROR_INVALID_PARAMETER for no size, a range that is not inside one region or unknown flags,
 * ERROR_INVALID_ADDRESS for an address to reserve at that is taken, ERROR_NOT_ENOUGH_MEMORY. Differs from
 * Windows: regions lie on page boundaries, not on those of 64 KB. */
KALTO_API LPVOID WINAPI VirtualAlloc(LPVOID lpAddress, SIZE_T dwSize, DWORD flAllocationType,
                                     DWORD flProtect);
/* MEM_RELEASE with the address that VirtualAlloc gave and size 0 gives back the whole region; MEM_DECOMMIT
 * empties pages in it (size 0: all) and makes them inaccessible. TRUE, or FALSE with ERROR_INVALID_PARAMETER.
 */
KALTO_API BOOL WINAPI VirtualFree(LPVOID lpAddress, SIZE_T dwSize, DWORD dwFreeType);

/* Sets the access to the pages that hold the range, which may be any memory of the process, and stores what
 * the first of them had, as the system knows it. FALSE with ERROR_INVALID_PARAMETER for no size, no place for
 * the old access or an unknown one, with ERROR_INVALID_ADDRESS where nothing is, or with the POSIX number of
 * the cause. */
KALTO_API BOOL WINAPI VirtualProtect(LPVOID lpAddress, SIZE_T dwSize, DWORD flNewProtect,
                                     PDWORD lpflOldProtect);

/* ---- Thread-local storage ---- */

#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define TLS_MINIMUM_AVAILABLE 64 /* at least; up to 1024 less what the C library's users have */

/* An index whose value is null in every thread, or TLS_OUT_OF_INDEXES with ERROR_NOT_ENOUGH_MEMORY. */
KALTO_API DWORD WINAPI TlsAlloc(void);
/* Gives an index back; what its values point to is the caller's. FALSE with ERROR_INVALID_PARAMETER for an
 * index that is not in use. */
KALTO_API BOOL WINAPI TlsFree(DWORD dwTlsIndex);
/* The calling thread's value. A null value makes the last error 0, or ERROR_INVALID_PARAMETER for an index
 * that is not in use, so that the two can be told apart. */
KALTO_API LPVOID WINAPI TlsGetValue(DWORD dwTlsIndex);
KALTO_API BOOL WINAPI TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue);

/* ---- Messages ---- */

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200u
#define FORMAT_MESSAGE_FROM_STRING 0x00000400u
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000u
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000u
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FFu

/* Writes a message. lpBuffer has room for nSize characters with the terminator or, with
 * FORMAT_MESSAGE_ALLOCATE_BUFFER, is the address of a pointer that receives a block of at least nSize
 * characters to be given to LocalFree.
 *
 * FORMAT_MESSAGE_FROM_SYSTEM: the system's text for an error number or the HRESULT of one, in the C library's
 * words for the current locale, and a line break ("\r\n", as on Windows; FORMAT_MESSAGE_MAX_WIDTH_MASK leaves
 * it out). These texts have no inserts.
 *
 * FORMAT_MESSAGE_FROM_STRING: the wide text lpSource. %1 to %99 stand for the inserts, as wide text or as
 * %1!format! says (s, c, d, i, u, o, x, X and p with flags, width and precision, a * of which takes the next
 * insert; h before s means narrow text). %n is a line break, %0 ends the text, any other character behind a
 * percent sign stands for itself. Each insert is one machine word, of which numbers use 32 bits: in the
 * argument list, or in an array of words with FORMAT_MESSAGE_ARGUMENT_ARRAY. FORMAT_MESSAGE_IGNORE_INSERTS
 * leaves the text as it is.
 *
 * The language is ignored, and so are widths of lines.
 * Returns the characters written without the terminator, or 0: ERROR_MR_MID_NOT_FOUND for a number without a
 * text, ERROR_INSUFFICIENT_BUFFER, ERROR_NOT_ENOUGH_MEMORY, ERROR_INVALID_PARAMETER for a null buffer or
 * source, or an insert that is not given or has an unknown format, ERROR_NOT_SUPPORTED with neither of the
 * two flags: message tables do not exist here. */
KALTO_API DWORD WINAPI FormatMessage(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD dwLanguageId,
                                     LPWSTR lpBuffer, DWORD nSize, va_list* Arguments);
#define FormatMessageW FormatMessage

/* Debug messages, in parentheses of their own: RETAILMSG(1, (TEXT("%s"), text)). They go to standard error,
 * those of DEBUGMSG where DEBUG is defined. */
#define NKDbgPrintfW(...) ((void)KaltoPrintTextTo(stderr, __VA_ARGS__))
#ifndef RETAILMSG
#define RETAILMSG(condition, message) ((condition) ? (NKDbgPrintfW message) : (void)0)
#endif
#ifndef DEBUGMSG
#ifdef DEBUG
#define DEBUGMSG RETAILMSG
#else
#define DEBUGMSG(condition, message) ((void)0)
#endif
#endif
#ifndef ERRORMSG
#define ERRORMSG RETAILMSG
#endif

/* ---- Threads and processes ---- */

/* CreateThread for a routine of the C run-time library. The thread's exit code is what the routine returns or
 * gives to _endthreadex. Returns the handle, or 0 with errno EAGAIN (ENOMEM: memory is out; EINVAL: no
 * routine). Unlike CreateThread it never moves the thread to real-time scheduling. */
KALTO_API UINT_PTR _beginthreadex(void* security, unsigned stack_size, unsigned(WINAPI* start)(void*),
                                  void* argument, unsigned flags, unsigned* thread_id);
/* ExitThread. */
KALTO_API void _endthreadex(unsigned exit_code) __attribute__((noreturn));

/* The older form: the handle is closed when the thread ends, so that it is good only while the thread is
 * known to run. The exit code is 0. Returns -1 where _beginthreadex returns 0. */
KALTO_API UINT_PTR _beginthread(void (*start)(void*), unsigned stack_size, void* argument);
/* Ends a thread that _beginthread started. */
KALTO_API void _endthread(void) __attribute__((noreturn));

/* The id of a thread, as GetCurrentThreadId gives it there; null, which GetCurrentThread returns, means the
 * calling thread. 0 with ERROR_INVALID_HANDLE for any other handle that is not a thread's. */
KALTO_API DWORD WINAPI GetThreadId(HANDLE hThread);

/* Stores the processor time that a thread has used; null, which GetCurrentThread returns, means the calling
 * thread. Of another thread all of it counts as user time. Times of creation and exit are not kept: 0.
 * FALSE with ERROR_INVALID_HANDLE for a handle that is not a thread's, or of a thread that has ended, and
 * with ERROR_INVALID_PARAMETER for a null pointer. */
KALTO_API BOOL WINAPI GetThreadTimes(HANDLE hThread, LPFILETIME lpCreationTime, LPFILETIME lpExitTime,
                                     LPFILETIME lpKernelTime, LPFILETIME lpUserTime);

#define WAIT_IO_COMPLETION 0xC0

/* Sleep. Always returns 0: nothing is ever queued to a thread here. Blocks. */
KALTO_API DWORD WINAPI SleepEx(DWORD dwMilliseconds, BOOL bAlertable);

/* INVALID_HANDLE_VALUE, as a pseudo handle for GetExitCodeProcess; every other call refuses it. */
KALTO_API HANDLE WINAPI GetCurrentProcess(void);

/* STILL_ACTIVE for GetCurrentProcess's result. The exit code of a program that CreateProcess started reaches
 * nobody: FALSE with ERROR_NOT_SUPPORTED and 0xFFFFFFFF stored; ERROR_INVALID_HANDLE for any other handle,
 * ERROR_INVALID_PARAMETER for a null pointer. */
KALTO_API BOOL WINAPI GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode);

#define SEM_FAILCRITICALERRORS 0x0001u
#define SEM_NOALIGNMENTFAULTEXCEPT 0x0004u
#define SEM_NOGPFAULTERRORBOX 0x0002u
#define SEM_NOOPENFILEERRORBOX 0x8000u

/* Keeps the mode and returns the one before, 0 at first. Has no other effect: there are no boxes. */
KALTO_API UINT WINAPI SetErrorMode(UINT uMode);

/* Stops in a debugger; without one the process ends with the crash report (SIGTRAP). */
KALTO_API void WINAPI DebugBreak(void);

/* Accepted by SetThreadPriority, which takes them as raw real-time priorities: those above normal are
 * real-time ones, the others leave the thread as it is. */
#define THREAD_PRIORITY_TIME_CRITICAL 15
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_IDLE (-15)

/* Flags of CreateProcess and STARTUPINFO, and how windows are shown: all ignored. */
#define CREATE_NEW_CONSOLE 0x00000010u
#define CREATE_NO_WINDOW 0x08000000u
#define CREATE_UNICODE_ENVIRONMENT 0x00000400u
#define DETACHED_PROCESS 0x00000008u
#define NORMAL_PRIORITY_CLASS 0x00000020u
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x00010000u
#define STARTF_USESHOWWINDOW 0x00000001u
#define STARTF_USESTDHANDLES 0x00000100u
#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOW 5

/* ---- Named objects ---- */

#define SYNCHRONIZE 0x00100000u
#define STANDARD_RIGHTS_REQUIRED 0x000F0000u
#define DELETE 0x00010000u
#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS 0x001F0003u
#define MUTEX_ALL_ACCESS 0x001F0001u
#define MUTEX_MODIFY_STATE 0x0001u
#define SEMAPHORE_MODIFY_STATE 0x0002u
#define SEMAPHORE_ALL_ACCESS 0x001F0003u
#define PROCESS_QUERY_INFORMATION 0x0400u
#define PROCESS_ALL_ACCESS 0x001F0FFFu
#define THREAD_ALL_ACCESS 0x001F03FFu

/* The object of that name and kind in this process, as another call of Create... with the name would return
 * it, to be closed like it (see CloseHandle); null with ERROR_FILE_NOT_FOUND when there is none, with
 * ERROR_INVALID_PARAMETER for a null name. Access and inheritance are ignored. */
KALTO_API HANDLE WINAPI OpenEvent(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName);
KALTO_API HANDLE WINAPI OpenMutex(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName);
KALTO_API HANDLE WINAPI OpenSemaphore(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName);
KALTO_API HANDLE WINAPI OpenFileMapping(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName);
#define OpenEventW OpenEvent
#define OpenMutexW OpenMutex
#define OpenSemaphoreW OpenSemaphore
#define OpenFileMappingW OpenFileMapping

/* Nothing has to be flushed, a mapping is memory alone: TRUE, or FALSE with ERROR_INVALID_PARAMETER for null.
 */
KALTO_API BOOL WINAPI FlushViewOfFile(LPCVOID lpBaseAddress, SIZE_T dwNumberOfBytesToFlush);

/* ---- Critical sections and interlocked operations ---- */

/* Takes the section if nobody has it or the calling thread owns it: TRUE; FALSE otherwise. Counts as one
 * EnterCriticalSection. Never blocks. */
KALTO_API BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
/* Ends the use of a section that nobody owns or waits for; it may be initialised again. */
KALTO_API void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
#define InitializeCriticalSectionAndSpinCount(section, count)                                                \
    ((void)(count), InitializeCriticalSection(section), TRUE)

/* Stores Exchange if the target equals Comparand; returns the target's value before. Atomic against all other
 * interlocked operations. */
KALTO_API LONG WINAPI InterlockedCompareExchange(LONG volatile* Destination, LONG Exchange, LONG Comparand);
/* The same for pointers. */
KALTO_API PVOID WINAPI InterlockedCompareExchangePointer(PVOID volatile* Destination, PVOID Exchange,
                                                         PVOID Comparand);
KALTO_API PVOID WINAPI InterlockedExchangePointer(PVOID volatile* Target, PVOID Value);

/* ---- Modules ---- */

#define DONT_RESOLVE_DLL_REFERENCES 0x00000001u
#define LOAD_LIBRARY_AS_DATAFILE 0x00000002u
#define LOAD_WITH_ALTERED_SEARCH_PATH 0x00000008u

/* A module that is loaded already, by the names that LoadLibrary takes; null means the running program, and
 * so do "coredll" and "kernel32", with or without ".dll": the calls of this library are found there. The same
 * module gives the same handle, which differs from LoadLibrary's. Nobody closes it, and it does not keep the
 * module loaded. Null with ERROR_MOD_NOT_FOUND, ERROR_NOT_ENOUGH_MEMORY or ERROR_INVALID_NAME. */
KALTO_API HMODULE WINAPI GetModuleHandle(LPCWSTR lpModuleName);
#define GetModuleHandleW GetModuleHandle
/* LoadLibrary; the file handle and the flags are ignored. Null with ERROR_MOD_NOT_FOUND. May block. */
KALTO_API HMODULE WINAPI LoadLibraryEx(LPCWSTR lpLibFileName, HANDLE hFile, DWORD dwFlags);
#define LoadLibraryExW LoadLibraryEx

/* ---- Files, directories, environment ---- */

/* Accepted where attributes are given, and never reported. */
#define FILE_ATTRIBUTE_SYSTEM 0x00000004u
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020u
#define FILE_ATTRIBUTE_INROM 0x00000040u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400u
#define FILE_ATTRIBUTE_COMPRESSED 0x00000800u
#define FILE_ATTRIBUTE_OFFLINE 0x00001000u
#define FILE_ATTRIBUTE_ROMMODULE 0x00002000u
#define FILE_ATTRIBUTE_ENCRYPTED 0x00004000u

typedef struct _WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
} WIN32_FILE_ATTRIBUTE_DATA, *LPWIN32_FILE_ATTRIBUTE_DATA;

typedef enum _GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard, GetFileExMaxInfoLevel } GET_FILEEX_INFO_LEVELS;

/* Stores the attributes that GetFileAttributes gives, the times that GetFileTime gives, and the whole size.
 * FALSE with the POSIX number of the cause; ERROR_NOT_SUPPORTED for a device or a pipe. May block. */
KALTO_API BOOL WINAPI GetFileAttributesEx(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId,
                                          LPVOID lpFileInformation);
#define GetFileAttributesExW GetFileAttributesEx

#define STD_INPUT_HANDLE 0xFFFFFFF6u
#define STD_OUTPUT_HANDLE 0xFFFFFFF5u
#define STD_ERROR_HANDLE 0xFFFFFFF4u

/* The file handle of standard input, output or error, for ReadFile and WriteFile: the same one each time,
 * which CloseHandle leaves open. Null when the descriptor is closed; INVALID_HANDLE_VALUE with
 * ERROR_INVALID_PARAMETER for another number, with ERROR_NOT_ENOUGH_MEMORY without memory. What printf has
 * buffered comes out when it is flushed. */
KALTO_API HANDLE WINAPI GetStdHandle(DWORD nStdHandle);

/* Common to the five calls below: the text is stored if it fits with its terminator into the room given, in
 * characters, and its length without the terminator is returned; otherwise nothing is stored and the room
 * that is needed is returned, with the terminator. 0 is a failure. */

/* The directory for temporary files (g_tmpPath), with backslashes and one at the end. */
KALTO_API DWORD WINAPI GetTempPath(DWORD nBufferLength, LPWSTR lpBuffer);
/* The working directory, with backslashes. */
KALTO_API DWORD WINAPI GetCurrentDirectory(DWORD nBufferLength, LPWSTR lpBuffer);
/* An environment variable; upper and lower case differ. 0 with ERROR_ENVVAR_NOT_FOUND, or for one that is
 * empty, with the last error 0. Not safe against a thread that changes the environment by other means than
 * SetEnvironmentVariable. */
KALTO_API DWORD WINAPI GetEnvironmentVariable(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize);
/* Replaces every %NAME% by the variable of that name; one that does not exist stays as it is. Differs from
 * the others as on Windows: the result counts the terminator in either case. */
KALTO_API DWORD WINAPI ExpandEnvironmentStrings(LPCWSTR lpSrc, LPWSTR lpDst, DWORD nSize);
#define GetTempPathW GetTempPath
#define GetCurrentDirectoryW GetCurrentDirectory
#define GetEnvironmentVariableW GetEnvironmentVariable
#define ExpandEnvironmentStringsW ExpandEnvironmentStrings

/* A name in lpPathName: up to three characters of the prefix, the number in hexadecimal digits, ".TMP". With
 * number 0 the first one is taken whose file does not exist, and an empty file is created. lpTempFileName has
 * room for MAX_PATH characters. Returns the number, or 0: ERROR_BUFFER_OVERFLOW when the name is too long,
 * ERROR_INVALID_PARAMETER for a null path or buffer, or the POSIX number of the cause. May block. */
KALTO_API UINT WINAPI GetTempFileName(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique,
                                      LPWSTR lpTempFileName);
#define GetTempFileNameW GetTempFileName

/* Sets a variable of this process and of the programs that it starts; a null value removes it. FALSE with
 * ERROR_INVALID_PARAMETER for a null or empty name or one with an equals sign, ERROR_INVALID_NAME,
 * ERROR_NOT_ENOUGH_MEMORY. */
KALTO_API BOOL WINAPI SetEnvironmentVariable(LPCWSTR lpName, LPCWSTR lpValue);
KALTO_API BOOL WINAPI SetCurrentDirectory(LPCWSTR lpPathName);
#define SetEnvironmentVariableW SetEnvironmentVariable
#define SetCurrentDirectoryW SetCurrentDirectory

/* ---- The machine ---- */

#define PROCESSOR_ARCHITECTURE_INTEL 0
#define PROCESSOR_ARCHITECTURE_MIPS 1
#define PROCESSOR_ARCHITECTURE_SHX 4
#define PROCESSOR_ARCHITECTURE_ARM 5
#define PROCESSOR_ARCHITECTURE_AMD64 9
#define PROCESSOR_ARCHITECTURE_UNKNOWN 0xFFFF
#define PROCESSOR_STRONGARM 2577
#define PROCESSOR_AMD_X8664 8664

typedef struct _SYSTEM_INFO {
    KALTO_NAMELESS union {
        DWORD dwOemId;
        KALTO_NAMELESS struct {
            WORD wProcessorArchitecture;
            WORD wReserved;
        };
    };
    DWORD dwPageSize;
    LPVOID lpMinimumApplicationAddress;
    LPVOID lpMaximumApplicationAddress;
    DWORD_PTR dwActiveProcessorMask; /* one bit for each of the first processors */
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity; /* the page size */
    WORD wProcessorLevel;          /* 0 */
    WORD wProcessorRevision;       /* 0 */
} SYSTEM_INFO, *PSYSTEM_INFO, *LPSYSTEM_INFO;

/* Fills the record; null is ignored. */
KALTO_API void WINAPI GetSystemInfo(LPSYSTEM_INFO lpSystemInfo);

#define PF_FLOATING_POINT_PRECISION_ERRATA 0
#define PF_FLOATING_POINT_EMULATED 1
#define PF_COMPARE_EXCHANGE_DOUBLE 2
#define PF_MMX_INSTRUCTIONS_AVAILABLE 3
#define PF_XMMI_INSTRUCTIONS_AVAILABLE 6
#define PF_RDTSC_INSTRUCTION_AVAILABLE 8
#define PF_XMMI64_INSTRUCTIONS_AVAILABLE 10
#define PF_ARM_VFP_32_REGISTERS_AVAILABLE 18
#define PF_ARM_NEON_INSTRUCTIONS_AVAILABLE 19
#define PF_ARM_DIVIDE_INSTRUCTION_AVAILABLE 24
#define PF_ARM_THUMB 0x80000005u
#define PF_ARM_JAZELLE 0x80000006u
#define PF_ARM_DSP 0x80000007u
#define PF_ARM_VFP10 0x80000009u

/* Whether the processor has the feature; FALSE for one that is not in the list above. */
KALTO_API BOOL WINAPI IsProcessorFeaturePresent(DWORD dwProcessorFeature);

/* The code page of the current locale's encoding: CP_UTF8, 28591 to 28605 for ISO 8859-1 to -15, or 20127,
 * ASCII, for any other. */
KALTO_API UINT WINAPI GetACP(void);
#define GetOEMCP GetACP

/* ---- Text ---- */

/* Lower or raise a text in place, as the locale knows it, and return it. A value below 0x10000 in place of
 * the address is one character, and so is the result. The counted ones go on for that many characters and
 * return the count. Null is returned as it is. */
KALTO_API LPWSTR WINAPI CharLower(LPWSTR lpsz);
KALTO_API LPWSTR WINAPI CharUpper(LPWSTR lpsz);
KALTO_API DWORD WINAPI CharLowerBuff(LPWSTR lpsz, DWORD cchLength);
KALTO_API DWORD WINAPI CharUpperBuff(LPWSTR lpsz, DWORD cchLength);
/* The place of the next character (the same at the end), and of the one before (the start at the start). */
KALTO_API LPWSTR WINAPI CharNext(LPCWSTR lpsz);
KALTO_API LPWSTR WINAPI CharPrev(LPCWSTR lpszStart, LPCWSTR lpszCurrent);
#define CharLowerW CharLower
#define CharUpperW CharUpper
#define CharLowerBuffW CharLowerBuff
#define CharUpperBuffW CharUpperBuff
#define CharNextW CharNext
#define CharPrevW CharPrev

/* Text calls that bear with null: a null text has length 0 and sorts before every other; a copy from or to
 * null does nothing and returns null. lstrcmp goes by character codes, where Windows sorts by words.
 * lstrcpyn copies at most iMaxLength - 1 characters and terminates. */
KALTO_API int WINAPI lstrlen(LPCWSTR lpString);
KALTO_API int WINAPI lstrcmp(LPCWSTR lpString1, LPCWSTR lpString2);
KALTO_API int WINAPI lstrcmpi(LPCWSTR lpString1, LPCWSTR lpString2);
KALTO_API LPWSTR WINAPI lstrcpy(LPWSTR lpString1, LPCWSTR lpString2);
KALTO_API LPWSTR WINAPI lstrcpyn(LPWSTR lpString1, LPCWSTR lpString2, int iMaxLength);
KALTO_API LPWSTR WINAPI lstrcat(LPWSTR lpString1, LPCWSTR lpString2);
#define lstrlenW lstrlen
#define lstrcmpW lstrcmp
#define lstrcmpiW lstrcmpi
#define lstrcpyW lstrcpy
#define lstrcpynW lstrcpyn
#define lstrcatW lstrcat

/* Names of the run-time library. Comparisons without case are the current locale's; the duplicates are to be
 * given to free; null is not accepted. */
KALTO_API int _stricmp(const char* first, const char* second);
KALTO_API int _strnicmp(const char* first, const char* second, size_t count);
KALTO_API int _wcsicmp(const WCHAR* first, const WCHAR* second);
KALTO_API int _wcsnicmp(const WCHAR* first, const WCHAR* second, size_t count);
KALTO_API char* _strdup(const char* text);
KALTO_API WCHAR* _wcsdup(const WCHAR* text);
KALTO_API WCHAR* _wcsupr(WCHAR* text);
#define _wcslwr wcslwr
#define _wcsrev wcsrev
#define _memicmp(first, second, count) _strnicmp((const char*)(first), (const char*)(second), (count))

/* Numbers as text, lower-case letters from ten up; the radix is 2 to 36, anything else gives empty text. A
 * negative number has a sign in radix 10 and shows its bits in every other. Return buffer, which must hold
 * the digits, the sign and a terminator: 34 units for 32 bits, 66 for 64. */
KALTO_API char* _itoa(int value, char* buffer, int radix);
KALTO_API char* _ultoa(ULONG value, char* buffer, int radix);
KALTO_API char* _i64toa(__int64 value, char* buffer, int radix);
KALTO_API WCHAR* _itow(int value, WCHAR* buffer, int radix);
KALTO_API WCHAR* _ltow(LONG value, WCHAR* buffer, int radix);
KALTO_API WCHAR* _ultow(ULONG value, WCHAR* buffer, int radix);
KALTO_API WCHAR* _i64tow(__int64 value, WCHAR* buffer, int radix);
#define _atoi64 atoll
#define _isnan __builtin_isnan
#define _finite __builtin_isfinite
#define _copysign __builtin_copysign
#define _alloca __builtin_alloca
#define _wtof(text) wcstod((text), NULL)

/* Formatted output into count units by the rules of Windows: the result is the length, or -1 when it is more
 * than count; then the buffer is full. There is a terminator only where there is room for one. The
 * conversions of the narrow calls are the C library's, where %s is narrow and %S is wide text, those of the
 * wide calls the wide family's of <kalto/text.h>. */
KALTO_API int _snprintf(char* buffer, size_t count, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
KALTO_API int _vsnprintf(char* buffer, size_t count, const char* format, va_list arguments);
KALTO_API int _snwprintf(WCHAR* buffer, size_t count, const WCHAR* format, ...);
KALTO_API int _vsnwprintf(WCHAR* buffer, size_t count, const WCHAR* format, va_list arguments);

/* The C library's calls of these names, for wide paths with either separator: 0, or -1 with errno, EILSEQ for
 * a name that the locale cannot express. A null path is refused with -1. May block. */
KALTO_API int _wremove(const WCHAR* path);
KALTO_API int _wunlink(const WCHAR* path);
KALTO_API int _wrmdir(const WCHAR* path);
KALTO_API int _wchdir(const WCHAR* path);
KALTO_API int _wmkdir(const WCHAR* path);
KALTO_API int _waccess(const WCHAR* path, int mode);
KALTO_API int _wrename(const WCHAR* from, const WCHAR* to);

/* Behind _tprintf and its family of <tchar.h>. Formats follow the wide family of <kalto/text.h>, so that %s
 * takes wide text. The text goes through the stream in the encoding of the locale, and printf may be used on
 * the same stream. Return the characters written, or -1 for what cannot be formatted, expressed or written.
 * May block as the stream does. */
KALTO_API int KaltoPrintText(const WCHAR* format, ...);
KALTO_API int KaltoPrintTextTo(FILE* stream, const WCHAR* format, ...);
KALTO_API int KaltoPrintTextList(const WCHAR* format, va_list arguments);
KALTO_API int KaltoPrintTextListTo(FILE* stream, const WCHAR* format, va_list arguments);
/* Behind _putts (with a newline) and _fputts: not negative, or EOF. */
KALTO_API int KaltoPutLine(const WCHAR* text);
KALTO_API int KaltoPutText(const WCHAR* text, FILE* stream);
/* Behind _fgetts: reads a line, its newline included, of at most count - 1 characters. Null at the end of the
 * file, and for bytes that the locale does not know. */
KALTO_API WCHAR* KaltoGetText(WCHAR* buffer, int count, FILE* stream);
/* Behind _fgettc and _fputtc: the character, or WEOF. */
KALTO_API wint_t KaltoGetCharacter(FILE* stream);
KALTO_API wint_t KaltoPutCharacter(wint_t character, FILE* stream);
/* Behind _stscanf: %s, %c and %[ store wide text, %S and %C narrow text; the rest is the C library's. */
KALTO_API int KaltoScanText(const WCHAR* text, const WCHAR* format, ...);

KALTO_END_DECLS

#ifdef __cplusplus
/* The form without a size, as ported sources call it beside the C library's own: wsprintf. In C there is no
 * such choice. */
inline int swprintf(WCHAR* buffer, const WCHAR* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = wvsprintf(buffer, format, arguments);
    va_end(arguments);
    return result;
}
inline int vswprintf(WCHAR* buffer, const WCHAR* format, va_list arguments) {
    return wvsprintf(buffer, format, arguments);
}
#endif

#endif
