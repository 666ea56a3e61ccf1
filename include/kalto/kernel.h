/* Kernel objects and threads: handles, waits, events, mutexes, semaphores, threads, processes, critical
 * sections and interlocked operations.
 *
 * A handle is the address of a record on the heap that begins with its type code and its reference count.
 * Every call refuses a null handle, INVALID_HANDLE_VALUE, and a handle whose type the call has no meaning
 * for. A handle must not be used after the close that released its object, as on Windows; the one exception
 * is a named object with several openers (see CloseHandle). No call of this header sets the last error. */
#ifndef KALTO_KERNEL_H
#define KALTO_KERNEL_H

#include <kalto/types.h>
#include <pthread.h>
#include <semaphore.h>
#include <time.h>

KALTO_BEGIN_DECLS

/* ---- Handles ---- */

/* Type codes; there is no type 7. */
#define HT_FILE 0
#define HT_FIND 1
#define HT_MODULE 2
#define HT_EVENT 3
#define HT_MUTEX 4
#define HT_SEMAPHORE 5
#define HT_THREAD 6
#define HT_PROCESS 8

/* Makes a record of the given type with one reference, all its other fields zero, and stores it through out.
 * Returns 1 for a new record, or with null stored when memory is out. With a name, an object of that very
 * name (upper and lower case differ) and type is looked for first: when there is one it is stored, as it is
 * and with no reference added, and 0 is returned. Ends the process with status 1 for a type that does not
 * exist. The caller owns what it was given and returns it with CloseHandle. For host hooks that make file
 * handles; applications use the Create calls. Thread-safe. */
KALTO_API int create_handle(DWORD type, LPCWSTR name, HANDLE* out);

/* Gives back a handle. When the last reference is gone the object is released: descriptors are closed, memory
 * is freed, a finished child is reaped (a running one is waited for), a thread runs on by itself; a module
 * stays loaded. Threads that are blocked on the object in a single wait return WAIT_FAILED. Always TRUE; null
 * and INVALID_HANDLE_VALUE are accepted and ignored. Thread-safe.
 * Differs from Windows for a named object that was created once and opened by name since: the first close of
 * any of its handles releases the object for all of them. The other handles are refused by every call from
 * then on and still have to be closed; the name is free at once. */
KALTO_API BOOL CloseHandle(HANDLE hObject);

/* ---- Waits ---- */

#define WAIT_OBJECT_0 10000u    /* plus the index of the handle */
#define WAIT_ABANDONED_0 20000u /* plus the index of the handle */
#define WAIT_ABANDONED WAIT_ABANDONED_0
#define WAIT_TIMEOUT 110u
#define WAIT_FAILED 22u
#define MAXIMUM_WAIT_OBJECTS 64 /* of Windows; here there is no limit */

/* An error of a system call equal to this makes a timed wait go on. It is EINTR, so that a signal that
 * arrives during the wait does not end it; whoever wants to be woken by signals stores 0 here. */
extern KALTO_API int WSAEINTR;

/* Waits until the object is signalled or dwMilliseconds have passed; INFINITE waits for ever, 0 only looks. A
 * time-out of 0x80000000 or more, but for INFINITE, has already passed. The deadline is on the wall clock:
 * setting the clock moves it.
 *
 *   object      signalled                              a successful wait
 *   event       from SetEvent to ResetEvent            clears an auto-reset event
 *   mutex       while free or owned by this thread     makes this thread the owner; there is no recursion
 *                                                      count, one release frees it
 *   semaphore   while its count is above 0             lowers the count by 1
 *   thread      from its end on                        changes nothing
 *   process     waits for the end whatever the         collects the child (see CreateProcess for what that
 *               time-out is                            says, and what not, about the program)
 *   search or   never: sleeps for dwMilliseconds       -
 *   change notification
 *
 * A signal is given at once to those who are blocked, in the order in which they came: to all of them by a
 * manual-reset event or the end of a thread, to one by an auto-reset event or a mutex, to one for each unit
 * by a semaphore. What was given is theirs, whatever happens to the object before they run.
 *
 * Returns WAIT_OBJECT_0, WAIT_TIMEOUT, WAIT_FAILED for a handle that is refused or that is closed for good
 * during the wait, or the errno value of a failing system call: EINTR (4) when a signal interrupts a wait
 * without end. A thread that is terminated in a wait leaves nothing behind. Blocks; thread-safe. Differs from
 * Windows in the values, and there are no abandoned mutexes. */
KALTO_API DWORD KaltoWaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
#define WaitForSingleObject KaltoWaitForSingleObject

/* Waits for one of nCount objects, or for all of them, as above. The objects are looked at from the last to
 * the first, so when several are signalled, the highest index is reported, and only that one is consumed. Any
 * number of threads may wait for the same objects.
 * Returns WAIT_OBJECT_0 plus the index (of a wait for all: WAIT_OBJECT_0); WAIT_ABANDONED_0 plus the index of
 * an object that all its other holders have closed during the wait, as soon as the wait has another reason to
 * look, or nobody is left who could give it one; WAIT_TIMEOUT; WAIT_FAILED when one of the handles is refused
 * or memory is out. Differs from Windows: a wait for all consumes the objects one by one as they become
 * signalled, even if it times out later, and counts signals over all its rounds. An object that stays
 * signalled (a manual-reset event, a finished thread) is counted once in every round, so that such a wait can
 * end before all objects have been signalled. To wait until all of several threads have ended, wait for one
 * after the other. */
KALTO_API DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                                       DWORD dwMilliseconds);

/* Stores the moment ms milliseconds from now on the wall clock (CLOCK_REALTIME), ms taken as signed: from
 * 0x80000000 on it is in the past. Returns 0, or -1 for null. */
KALTO_API int GetTimeOutTime(struct timespec* abstime, DWORD ms);

/* ---- Events, mutexes, semaphores ---- */

/* Each returns a new object, or null when memory is out. With a name, an existing object of that name and
 * type is returned instead, with none of the arguments applied. The attributes are ignored. Close with
 * CloseHandle, once for each create. */
KALTO_API HANDLE CreateEvent(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                             LPCWSTR lpName);
KALTO_API HANDLE CreateMutex(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName);
/* Differs from Windows: the counts are not checked. */
KALTO_API HANDLE CreateSemaphore(LPSECURITY_ATTRIBUTES lpSemaphoreAttributes, LONG lInitialCount,
                                 LONG lMaximumCount, LPCWSTR lpName);
#define CreateEventW CreateEvent
#define CreateMutexW CreateMutex
#define CreateSemaphoreW CreateSemaphore

/* Make an event signalled, or not. TRUE, or FALSE for a handle that is refused. Do not block. */
KALTO_API BOOL SetEvent(HANDLE hEvent);
KALTO_API BOOL ResetEvent(HANDLE hEvent);
KALTO_API BOOL KaltoSetEvent(HANDLE hEvent);
KALTO_API BOOL KaltoResetEvent(HANDLE hEvent);

/* Does nothing. Returns FALSE. */
KALTO_API BOOL PulseEvent(HANDLE hEvent);

/* Raises the count of a semaphore (or a mutex) by lReleaseCount, and stores the count before through
 * lpPreviousCount unless that is null. TRUE, or FALSE for a handle that is refused. Does not block. Differs
 * from Windows: the count stops at the maximum, and that is no failure. */
KALTO_API BOOL KaltoReleaseSemaphore(HANDLE hSemaphore, LONG lReleaseCount, LPLONG lpPreviousCount);
#define ReleaseSemaphore KaltoReleaseSemaphore

/* Frees the mutex: KaltoReleaseSemaphore(hMutex, 1, NULL). Differs from Windows: any thread may do it, any
 * number of times, and one release undoes every take of the owner. */
KALTO_API BOOL ReleaseMutex(HANDLE hMutex);

/* ---- Threads ---- */

#define CREATE_SUSPENDED 4
#define STILL_ACTIVE 0x7FFFFFFFu
#define THREAD_PRIORITY_ERROR_RETURN 0x7FFFFFFF
/* Taken as raw priorities: those above 0 make a real-time thread, the others leave a thread as it is. */
#define THREAD_PRIORITY_IDLE (-15)
#define THREAD_PRIORITY_LOWEST (-2)
#define THREAD_PRIORITY_BELOW_NORMAL (-1)
#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1
#define THREAD_PRIORITY_HIGHEST 2
#define THREAD_PRIORITY_TIME_CRITICAL 15

/* The body of a thread: its parameter is CreateThread's. */
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID lpParameter);
typedef LPTHREAD_START_ROUTINE PTHREAD_START_ROUTINE;

/* Starts a thread and returns its handle, or null. The stack has dwStackSize bytes, at least 65536. The
 * thread inherits the scheduling of its creator; if lpThreadId is not null, its id is stored there and it is
 * moved to real-time scheduling (SCHED_FIFO) at the creator's priority, as far as the process may do that. Of
 * the flags only CREATE_SUSPENDED is looked at: the thread then starts with ResumeThread. The handle becomes
 * signalled when the thread ends; closing it lets the thread run on. Ends of threads: return from the
 * routine, ExitThread, TerminateThread. */
KALTO_API HANDLE CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, DWORD dwStackSize,
                              LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter,
                              DWORD dwCreationFlags, LPDWORD lpThreadId);

/* Starts a thread that was created suspended, after a pause of five seconds; any other thread is left alone.
 * Returns 0 (the pause is made in any case), or 0xFFFFFFFF at once for a handle that is refused. Blocks. */
KALTO_API DWORD ResumeThread(HANDLE hThread);

/* Does nothing. Returns 0xFFFFFFFF. */
KALTO_API DWORD SuspendThread(HANDLE hThread);

/* Ends the calling thread; its handle becomes signalled. Does not return. */
KALTO_API void ExitThread(DWORD dwExitCode);

/* Ends another thread at its next wait or blocking system call (POSIX cancellation), waits until it has
 * ended, and returns TRUE; the exit code is ignored, the thread's is 0xFFFFFFFF. Called on itself it does not
 * return. FALSE for a handle that is refused, or when somebody has asked for the thread's end or exit code
 * before. */
KALTO_API BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode);

/* Stores the thread's exit code: STILL_ACTIVE (0x7FFFFFFF here) while it runs, afterwards what it gave to
 * ExitThread, or 0 if its routine returned. FALSE for a handle that is refused, and once the code has been
 * handed out. May block for the moment that an ending thread takes to end.
 * Differs from Windows: the code can be had only once, and the result of the routine is not it. */
KALTO_API BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode);

/* The raw scheduling priority, not the levels of Windows. GetThreadPriority: THREAD_PRIORITY_ERROR_RETURN
 * when there is none to be had. SetThreadPriority moves the thread to SCHED_FIFO; TRUE whether or not the
 * process may do that, FALSE only for a handle that is refused. Neither takes GetCurrentThread's result. */
KALTO_API int GetThreadPriority(HANDLE hThread);
KALTO_API BOOL SetThreadPriority(HANDLE hThread, int nPriority);

/* Null, as a pseudo handle. Of the calls here none accepts it; GetThreadId and GetThreadTimes do. */
KALTO_API HANDLE GetCurrentThread(void);
/* The calling thread's id (pthread_self, cut to 32 bits), and the process's. */
KALTO_API DWORD GetCurrentThreadId(void);
KALTO_API DWORD GetCurrentProcessId(void);

/* The thread that made a window of the windowing layer; its process is stored through lpdwProcessId unless
 * that is null. 0 for no window. */
KALTO_API DWORD GetWindowThreadProcessId(HWND hWnd, LPDWORD lpdwProcessId);

/* ---- Processes ---- */

typedef struct _PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
} PROCESS_INFORMATION, *PPROCESS_INFORMATION, *LPPROCESS_INFORMATION;

/* Ignored. */
typedef struct _STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
} STARTUPINFOW, *LPSTARTUPINFOW;
typedef STARTUPINFOW STARTUPINFO;
typedef STARTUPINFO *PSTARTUPINFO, *LPSTARTUPINFO;

/* Runs a program. Its path is lpApplicationName or, when that is null, the first word of lpCommandLine;
 * slashes or backslashes. Its arguments are the path and then the words of lpCommandLine, taken apart at
 * blanks and tabs, without any quoting, at most 127 of them (so without an application name the program sees
 * its path twice). A program without execute permission is given mode 0755. With bInheritHandles FALSE every
 * descriptor is closed, 0 to 2 lead to /dev/null, and the program has a session of its own. The other
 * arguments are ignored. TRUE as soon as the program is on its way; whether it could be run is not reported.
 * FALSE when memory is out or a text cannot be expressed in the current locale. Unless lpProcessInformation
 * is null it gets: hProcess null, hThread a handle to close, dwProcessId 0xFFFFFFFF, dwThreadId untouched.
 * The handle stands for the short-lived helper that forks the program off: waiting for it returns once the
 * program is on its way, not when it ends. */
KALTO_API BOOL CreateProcess(LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                             LPSECURITY_ATTRIBUTES lpProcessAttributes,
                             LPSECURITY_ATTRIBUTES lpThreadAttributes, BOOL bInheritHandles,
                             DWORD dwCreationFlags, LPVOID lpEnvironment, LPCWSTR lpCurrentDirectory,
                             LPSTARTUPINFO lpStartupInfo, LPPROCESS_INFORMATION lpProcessInformation);
#define CreateProcessW CreateProcess

/* For a freshly forked child: closes every descriptor, starts a session, and leads 0, 1 and 2 to /dev/null.
 * Returns 0, or -1 with errno set. */
KALTO_API int closeallhandles(void);

/* ---- What has no counterpart: each does nothing and returns 0 ---- */

typedef struct tagPROCESSENTRY32W {
    DWORD dwSize;
    DWORD cntUsage;
    DWORD th32ProcessID;
    ULONG_PTR th32DefaultHeapID;
    DWORD th32ModuleID;
    DWORD cntThreads;
    DWORD th32ParentProcessID;
    LONG pcPriClassBase;
    DWORD dwFlags;
    WCHAR szExeFile[MAX_PATH];
} PROCESSENTRY32W, *PPROCESSENTRY32W, *LPPROCESSENTRY32W;
typedef PROCESSENTRY32W PROCESSENTRY32;
typedef PROCESSENTRY32 *PPROCESSENTRY32, *LPPROCESSENTRY32;

#define TH32CS_SNAPPROCESS 2
#define PROCESS_TERMINATE 1

struct _OVERLAPPED;

/* Differs from Windows: a failed snapshot is null, not INVALID_HANDLE_VALUE. */
KALTO_API HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID);
KALTO_API BOOL CloseToolhelp32Snapshot(HANDLE hSnapshot);
KALTO_API BOOL Process32First(HANDLE hSnapshot, LPPROCESSENTRY32 lppe);
KALTO_API BOOL Process32Next(HANDLE hSnapshot, LPPROCESSENTRY32 lppe);
#define Process32FirstW Process32First
#define Process32NextW Process32Next
KALTO_API HANDLE OpenProcess(DWORD dwDesiredAccess, BOOL bInheritHandle, DWORD dwProcessId);
KALTO_API BOOL TerminateProcess(HANDLE hProcess, DWORD uExitCode);
KALTO_API BOOL DeviceIoControl(HANDLE hDevice, DWORD dwIoControlCode, LPVOID lpInBuffer, DWORD nInBufferSize,
                               LPVOID lpOutBuffer, DWORD nOutBufferSize, LPDWORD lpBytesReturned,
                               struct _OVERLAPPED* lpOverlapped);
KALTO_API DWORD SetSystemMemoryDivision(DWORD dwStorePages);
KALTO_API BOOL GetSystemMemoryDivision(LPDWORD lpdwStorePages, LPDWORD lpdwRamPages, LPDWORD lpdwPageSize);

/* ---- Critical sections ---- */

/* A lock inside one process. Initialise it before use; it holds nothing to delete. Differs from Windows: a
 * section that was entered twice by its thread is free after the first leave, and the second leave lets one
 * more thread in. So enter once. */
typedef struct _RTL_CRITICAL_SECTION {
    pthread_t OwningThread; /* 0 when free */
    DWORD RecursionCount;
    sem_t LockSemaphore;
} RTL_CRITICAL_SECTION, CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

/* Makes the section free. */
KALTO_API void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection);

/* Takes the section, blocking until it is free; returns at once when the calling thread owns it. Returns 1.
 * Signals do not end the wait; a thread that is terminated in it leaves the section alone. */
KALTO_API DWORD EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);

/* Gives the section back, whatever the number of enters and whoever owns it. */
KALTO_API void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection);

/* ---- Interlocked operations ---- */

/* Each is atomic against every other one, in the whole process, and wraps around at 32 bits. The target must
 * not be null. They serialise on one lock: they are no faster than a critical section. */
KALTO_API LONG InterlockedIncrement(LONG volatile* Addend);               /* returns the new value */
KALTO_API LONG InterlockedDecrement(LONG volatile* Addend);               /* returns the new value */
KALTO_API LONG InterlockedExchange(LONG volatile* Target, LONG Value);    /* returns the old value */
KALTO_API LONG InterlockedExchangeAdd(LONG volatile* Addend, LONG Value); /* returns the old value */
/* Stores newValue if the target equals oldValue; returns the target's value before. */
KALTO_API LONG InterlockedTestExchange(LONG volatile* Target, LONG oldValue, LONG newValue);

KALTO_END_DECLS

#endif
