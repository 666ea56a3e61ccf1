/* The part of <kalto/porting.h> about memory: heaps, local memory, virtual memory.
 * The common rules stand there. */
#ifndef KALTO_PORTING_MEMORY_H
#define KALTO_PORTING_MEMORY_H

#include <kalto/errors.h>
#include <kalto/system.h>
#include <kalto/types.h>

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

KALTO_END_DECLS

#endif
