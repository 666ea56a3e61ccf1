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
#include <kalto/porting_memory.h>
#include <kalto/porting_text.h>
#include <kalto/system.h>
#include <kalto/text.h>
#include <kalto/types.h>
#include <stdarg.h>
#include <stdio.h>

KALTO_BEGIN_DECLS

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

KALTO_END_DECLS

#endif
