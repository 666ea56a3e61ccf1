/* Kernel objects and threads: handles, critical sections and interlocked operations.
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

/* ---- Threads ---- */

/* The body of a thread: its parameter is CreateThread's. */
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID lpParameter);

/* ---- Critical sections ---- */

/* A lock inside one process. Initialise it before use; there is nothing to delete. Differs from Windows: a
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
