/* Start-up, last error, module hooks and diagnostics.
 *
 * The library supplies main. An application defines WinMain, a loadable module DllMain; both are declared
 * here with the linkage that the library expects, so that a plain definition is found. */
#ifndef KALTO_CORE_H
#define KALTO_CORE_H

#include <kalto/types.h>
#include <stdarg.h>
#ifdef __cplusplus
#include <string>
#endif

KALTO_BEGIN_DECLS

/* Defined by the application. main calls it with null instance handles, the wide command line (null when
 * memory runs out) and 0; its result becomes the exit status of the process, of which the system keeps the
 * low 8 bits. The arguments were converted in the locale that was set before main, usually the "C" locale,
 * and an argument that it cannot express ends the wide command line there. An application that takes other
 * than ASCII arguments calls setlocale first and converts GetCommandLineA itself. */
KALTO_API int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPWSTR lpCmdLine, int nCmdShow);
#define wWinMain WinMain
/* An application that defines no WinMain may define wmain, which _tmain of <tchar.h> stands for, as in
 *     int wmain(int argc, WCHAR* argv[])
 * main calls it in its place, with the arguments in the user's locale, the program's name first and a null
 * pointer last. Without a call the process ends with status 1, and a line on standard error, for an argument
 * that is no text in that locale. The vector is the application's until wmain returns; a third parameter is
 * an empty vector. With -fvisibility=hidden the definition is marked KALTO_API. */
#define _tWinMain WinMain

/* Defined by a loadable module that wants to be told when it is attached (DLL_PROCESS_ATTACH) and detached.
 * The numbers differ from Windows; modules are told through KaltoDllInit and KaltoDllFini, threads never. */
KALTO_API BOOL WINAPI DllMain(HANDLE hModule, DWORD dwReason, LPVOID lpReserved);
#define DLL_PROCESS_ATTACH 0
#define DLL_PROCESS_DETACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

/* The arguments of the process, without the program's name, joined by single blanks; quoting that the shell
 * took away is not put back. The text belongs to the library. Empty before main has started and after WinMain
 * has returned. GetCommandLineW makes the wide form on its first call and hands out the same text ever after;
 * it returns null when memory runs out, and the next call tries again. Thread-safe; neither touches the last
 * error. */
KALTO_API LPSTR GetCommandLineA(void);
KALTO_API LPWSTR GetCommandLineW(void);
#define GetCommandLine GetCommandLineW

/* The arguments of the process as a vector. A text that is not empty is not looked at: it stands for the
 * process's own arguments, and *pNumArgs receives how many main was given. Element 0 is the path of the
 * executable; an element after it has room for as many characters as the argument has bytes, and no
 * terminator beyond them: do not rely on one. A null or empty lpCmdLine gives a vector of one, the path of
 * the executable (at most 255 bytes of it; read once). pNumArgs may be null. The vector belongs to the
 * library. Null, with errno ENOMEM, when memory runs out; also null, with 0 arguments, in a program with a
 * main of its own. Thread-safe; leaves the last error alone. */
KALTO_API LPWSTR* WINAPI CommandLineToArgvW(LPCWSTR lpCmdLine, int* pNumArgs);

/* What a loadable module calls when it is loaded and unloaded (from its constructor and destructor). One
 * counter serves the whole process: the call that raises it to 1 returns the result of hModule's
 * DllMain(hModule, DLL_PROCESS_ATTACH, null), the call that lowers it to 0 that of DllMain(hModule,
 * DLL_PROCESS_DETACH, null), 0 where the module has no DllMain; every other call returns the counter.
 * Thread-safe; they leave the last error alone. */
KALTO_API DWORD KaltoDllInit(HMODULE hModule);
KALTO_API DWORD KaltoDllFini(HMODULE hModule);

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
 * leaves the last error alone.
 *
 * The report: "Received signal: SIGSEGV (PID = n)", errno, code and address of the fault, eighteen registers
 * (on ARM r0 to r10, fp, ip, sp, lr, pc, cpsr and the fault address; on x86-64 r8 to r15, rdi, rsi, rbp, rbx,
 * rdx, rax, rcx, rsp, rip and the flags), and the symbols found from the base of the thread's signal stack
 * on. A report that cannot be written is given up after 5 seconds. */
KALTO_API void InstallSignalHandlers(void);

/* Writes what signal sig does at present into buf: "SIGPIPE (13): " and then "application" for the crash
 * report, "default", "ignored", or "unknown (0x...)" with the address of another handler. buf must hold 64
 * characters. Returns 1, or 0 with buf untouched when there is no such signal or buf is null. Thread-safe;
 * leaves the last error alone. */
KALTO_API int GetSignalVector(int sig, char* buf);

/* Symbolic names of the errno values 1 to 131 ("ENOENT" at 2); values that share a number are in one name
 * ("EAGAIN/EWOULDBLOCK"), entry 0 and numbers that Linux does not use are empty. */
extern KALTO_API const char* const ename[132];

/* Builds one line into buf, of at most size bytes with the terminator: ": message\n", or, when useErrno is
 * set, " [ENOENT No such file or directory] message\n" for errnum. The message is fmt with args, as printf
 * formats it, cut to 99 bytes. Does nothing when buf or fmt is null. Thread-safe; leaves the last error
 * alone. */
KALTO_API void BuildSysErrMsg(char* buf, size_t size, BOOL useErrno, int errnum, const char* fmt,
                              va_list args);

/* Build a message and drop it. Kalto_ErrMsg returns 0; Kalto_ErrMsgSys returns errno, which it leaves as it
 * was. Thread-safe; they leave the last error alone. */
KALTO_API int Kalto_ErrMsg(const char* fmt, ...);
KALTO_API int Kalto_ErrMsgSys(const char* fmt, ...);

#define EXCEPTION_MAXIMUM_PARAMETERS 15
#define EXCEPTION_NONCONTINUABLE 0x1

typedef struct _EXCEPTION_RECORD {
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    struct _EXCEPTION_RECORD* ExceptionRecord; /* unused */
    PVOID ExceptionAddress;                    /* null */
    DWORD NumberParameters;
    ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS]; /* longer when there are more parameters */
} EXCEPTION_RECORD, *PEXCEPTION_RECORD, *LPEXCEPTION_RECORD;

typedef struct _CONTEXT CONTEXT, *PCONTEXT, *LPCONTEXT;

typedef struct _EXCEPTION_POINTERS {
    PEXCEPTION_RECORD ExceptionRecord;
    PCONTEXT ContextRecord; /* null */
} EXCEPTION_POINTERS, *PEXCEPTION_POINTERS, *LPEXCEPTION_POINTERS;

/* Records the exception as the last one of the process and throws a C++ exception of type unsigned long: the
 * first parameter, or 0. Catch it with catch (unsigned long). Bit 28 of the code is cleared. lpArguments may
 * be null, which means no parameters; more than EXCEPTION_MAXIMUM_PARAMETERS are kept whole. Ends the process
 * with exit(1) when memory runs out. The record of the exception before it is freed: threads that raise and
 * look at the same time must agree. */
KALTO_API void WINAPI RaiseException(DWORD dwExceptionCode, DWORD dwExceptionFlags, DWORD nNumberOfArguments,
                                     const ULONG_PTR* lpArguments);

/* The last exception raised in the process, by any thread (a null record when there was none), and a null
 * context. Both belong to the library; the record lives until the next RaiseException. Unlike Windows it may
 * be called anywhere. */
KALTO_API EXCEPTION_POINTERS* WINAPI GetExceptionInformation(void);

KALTO_END_DECLS

#ifdef __cplusplus
/* Where an application keeps temporary files, with a slash at the end: "/tmp/" until the application sets it.
 * Not guarded: set it before threads start. */
extern "C" KALTO_API std::string g_tmpPath;
#endif

#endif
