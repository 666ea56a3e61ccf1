/* The basic types, macros and constants of the interface. Every other header of the library includes this
 * one.
 *
 * The build is a wide-character one: TCHAR is wchar_t, which is 32 bits wide here. DWORD and LONG are 32 bits
 * on every target: unsigned long and long on the 32-bit target, as ported source expects, unsigned int and
 * int on a 64-bit host. */
#ifndef KALTO_TYPES_H
#define KALTO_TYPES_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <wchar.h>

#ifdef __cplusplus
#define KALTO_BEGIN_DECLS extern "C" {
#define KALTO_END_DECLS }
#else
#define KALTO_BEGIN_DECLS
#define KALTO_END_DECLS
#endif

/* Marks what the libraries export; everything else stays hidden. */
#define KALTO_API __attribute__((visibility("default")))

/* Calling conventions: there is only one here. */
#ifndef WINAPI
#define WINAPI
#endif
#ifndef CALLBACK
#define CALLBACK
#endif
#ifndef APIENTRY
#define APIENTRY WINAPI
#endif
#ifndef PASCAL
#define PASCAL
#endif
#ifndef CONST
#define CONST const
#endif
#ifndef IN
#define IN
#endif
#ifndef OUT
#define OUT
#endif
#ifndef OPTIONAL
#define OPTIONAL
#endif
#ifndef FAR
#define FAR
#endif
#ifndef NEAR
#define NEAR
#endif
#define WINAPIV
#define APIPRIVATE
#define WINBASEAPI
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#ifndef FORCEINLINE
#define FORCEINLINE static inline
#endif
#define UNALIGNED
#ifdef __cplusplus
#define EXTERN_C extern "C"
#else
#define EXTERN_C extern
#endif

#ifndef VOID
#define VOID void
#endif

/* Integers. __int64 is a macro, because `unsigned __int64` occurs. */
#ifndef __int64
#define __int64 long long
#endif

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned char BOOLEAN;
typedef unsigned char UCHAR;
typedef char CHAR;
typedef short SHORT;
typedef unsigned short USHORT;
typedef unsigned short WORD;
typedef int INT;
typedef unsigned int UINT;
#if defined(__LP64__)
typedef int LONG;
typedef unsigned int ULONG;
typedef unsigned int DWORD;
#else
typedef long LONG;
typedef unsigned long ULONG;
typedef unsigned long DWORD;
#endif
typedef float FLOAT;
typedef double DOUBLE;
typedef double DATE;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef unsigned long long DWORDLONG;
typedef int8_t INT8;
typedef int16_t INT16;
typedef int32_t INT32;
typedef int64_t INT64;
typedef uint8_t UINT8;
typedef uint16_t UINT16;
typedef uint32_t UINT32;
typedef uint64_t UINT64;
typedef int32_t LONG32;
typedef int64_t LONG64;
typedef uint32_t ULONG32;
typedef uint64_t ULONG64;
typedef uint32_t DWORD32;
typedef uint64_t DWORD64;

/* Integers as wide as a pointer. On the 32-bit target ULONG_PTR and DWORD are one type, as ported source
 * expects. */
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef long LONG_PTR;
typedef unsigned long ULONG_PTR;
typedef unsigned long DWORD_PTR;
typedef size_t SIZE_T;
typedef ptrdiff_t SSIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;

/* Characters and strings. */
typedef wchar_t WCHAR;
typedef WCHAR TCHAR;
typedef WCHAR OLECHAR;
typedef CHAR *PSTR, *LPSTR, *PCHAR, *LPCH, *PCH;
typedef const CHAR *PCSTR, *LPCSTR, *LPCCH, *PCCH;
typedef WCHAR *PWSTR, *LPWSTR, *PWCHAR, *LPWCH, *PWCH, *NWPSTR;
typedef const WCHAR *PCWSTR, *LPCWSTR, *LPCWCH, *PCWCH;
typedef TCHAR *PTSTR, *LPTSTR, *PTCHAR, *LPTCH, *PTCH;
typedef const TCHAR *PCTSTR, *LPCTSTR;
typedef OLECHAR *BSTR, *LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef WCHAR TBYTE, *PTBYTE;

/* Pointers. */
typedef void *PVOID, *LPVOID;
typedef const void* LPCVOID;
typedef BOOL *PBOOL, *LPBOOL;
typedef BYTE *PBYTE, *LPBYTE;
typedef BOOLEAN* PBOOLEAN;
typedef UCHAR* PUCHAR;
typedef SHORT* PSHORT;
typedef USHORT* PUSHORT;
typedef WORD *PWORD, *LPWORD;
typedef INT *PINT, *LPINT;
typedef UINT *PUINT, *LPUINT;
typedef LONG *PLONG, *LPLONG;
typedef ULONG* PULONG;
typedef DWORD *PDWORD, *LPDWORD;
typedef FLOAT* PFLOAT;
typedef LONGLONG* PLONGLONG;
typedef ULONGLONG* PULONGLONG;
typedef ULONG_PTR* PULONG_PTR;
typedef LONG_PTR* PLONG_PTR;
typedef DWORD_PTR* PDWORD_PTR;
typedef SIZE_T* PSIZE_T;
typedef DOUBLE* PDOUBLE;
typedef DWORDLONG* PDWORDLONG;
typedef INT_PTR* PINT_PTR;
typedef UINT_PTR* PUINT_PTR;
typedef SSIZE_T* PSSIZE_T;
typedef INT8* PINT8;
typedef INT16* PINT16;
typedef INT32* PINT32;
typedef INT64* PINT64;
typedef UINT8* PUINT8;
typedef UINT16* PUINT16;
typedef UINT32* PUINT32;
typedef UINT64* PUINT64;
typedef LONG32* PLONG32;
typedef LONG64* PLONG64;
typedef ULONG32* PULONG32;
typedef ULONG64* PULONG64;
typedef DWORD32* PDWORD32;
typedef DWORD64* PDWORD64;

/* Handles. A kernel object's handle is the address of its record, a module's included, so that a source may
 * write HANDLE or HINSTANCE in the signature of DllMain. Registry keys and windows are types of their own. */
typedef void* HANDLE;
typedef HANDLE *PHANDLE, *LPHANDLE;
typedef HANDLE HINSTANCE;
typedef HANDLE HMODULE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
#define DECLARE_HANDLE(name)                                                                                 \
    struct name##__ {                                                                                        \
        int unused;                                                                                          \
    };                                                                                                       \
    typedef struct name##__* name
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HFONT);
DECLARE_HANDLE(HRSRC);
DECLARE_HANDLE(HPEN);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HPALETTE);
DECLARE_HANDLE(HACCEL);
typedef HANDLE HGDIOBJ;
typedef int HFILE;
typedef HICON HCURSOR;
typedef HKEY *PHKEY, *LPHKEY;

typedef LONG HRESULT;
typedef LONG SCODE;
typedef LONG NTSTATUS;
typedef DWORD LCID;
typedef WORD LANGID;
typedef DWORD LCTYPE;
typedef DWORD COLORREF;
typedef WORD ATOM;
typedef DWORD ACCESS_MASK;
typedef ACCESS_MASK REGSAM;

typedef INT_PTR(WINAPI* FARPROC)(void);
typedef INT_PTR(WINAPI* NEARPROC)(void);
typedef INT_PTR(WINAPI* PROC)(void);

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

#define MAX_PATH 260
#define _MAX_PATH 260
#define _MAX_DRIVE 3
#define _MAX_DIR 256
#define _MAX_FNAME 256
#define _MAX_EXT 256
#define MAXBYTE 0xFFu
#define MAXWORD 0xFFFFu
#define MAXDWORD 0xFFFFFFFFu
#define MAXSHORT 0x7FFF
#define MAXLONG 0x7FFFFFFF
#define MINLONG KALTO_CAST(LONG, 0x80000000u)
#define INFINITE 0xFFFFFFFFu
#ifdef __cplusplus
#define KALTO_POINTER_CAST(type, value) (reinterpret_cast<type>(static_cast<LONG_PTR>(value)))
#else
#define KALTO_POINTER_CAST(type, value) ((type)(LONG_PTR)(value))
#endif
#define INVALID_HANDLE_VALUE KALTO_POINTER_CAST(HANDLE, -1)

/* Text literals. */
#ifndef _T
#define __T(text) L##text
#define _T(text) __T(text)
#define _TEXT(text) __T(text)
#endif
#ifndef TEXT
#define __TEXT(text) L##text
#define TEXT(text) __TEXT(text)
#endif

/* Parts of integers. */
#ifdef __cplusplus
#define KALTO_CAST(type, value) (static_cast<type>(value))
#else
#define KALTO_CAST(type, value) ((type)(value))
#endif
#define LOWORD(l) KALTO_CAST(WORD, ((DWORD_PTR)(l)) & 0xFFFFu)
#define HIWORD(l) KALTO_CAST(WORD, (((DWORD_PTR)(l)) >> 16) & 0xFFFFu)
#define LOBYTE(w) KALTO_CAST(BYTE, ((DWORD_PTR)(w)) & 0xFFu)
#define HIBYTE(w) KALTO_CAST(BYTE, (((DWORD_PTR)(w)) >> 8) & 0xFFu)
#define MAKEWORD(low, high)                                                                                  \
    KALTO_CAST(WORD, KALTO_CAST(BYTE, (low)&0xFF) | (KALTO_CAST(WORD, KALTO_CAST(BYTE, (high)&0xFF)) << 8))
#define MAKELONG(low, high)                                                                                  \
    KALTO_CAST(LONG,                                                                                         \
               KALTO_CAST(WORD, (low)&0xFFFF) | (KALTO_CAST(DWORD, KALTO_CAST(WORD, (high)&0xFFFF)) << 16))

#define ZeroMemory(destination, length) memset((destination), 0, (length))
#define FillMemory(destination, length, fill) memset((destination), (fill), (length))
#define CopyMemory(destination, source, length) memcpy((destination), (source), (length))
#define MoveMemory(destination, source, length) memmove((destination), (source), (length))
#define RtlZeroMemory ZeroMemory
#define RtlFillMemory FillMemory
#define RtlCopyMemory CopyMemory
#define RtlMoveMemory MoveMemory
#define UNREFERENCED_PARAMETER(parameter) ((void)(parameter))
#define DBG_UNREFERENCED_PARAMETER UNREFERENCED_PARAMETER
#define UNREFERENCED_LOCAL_VARIABLE UNREFERENCED_PARAMETER
#define ARRAYSIZE(array) (sizeof(array) / sizeof((array)[0]))
#ifndef _countof
#define _countof ARRAYSIZE
#endif
#define FIELD_OFFSET(type, field) KALTO_CAST(LONG, offsetof(type, field))
#define CONTAINING_RECORD(address, type, field) ((type*)((char*)(address)-offsetof(type, field)))
#ifdef __cplusplus
#define C_ASSERT(condition) static_assert(condition, #condition)
#else
#define C_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* Languages. Accepted wherever they are asked for, and ignored. */
#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_ENGLISH_US 0x01
#define SORT_DEFAULT 0x0
#define MAKELANGID(primary, sub) KALTO_CAST(WORD, (KALTO_CAST(WORD, sub) << 10) | KALTO_CAST(WORD, primary))
#define MAKELCID(language, sort)                                                                             \
    KALTO_CAST(DWORD, (KALTO_CAST(DWORD, KALTO_CAST(WORD, sort)) << 16) |                                    \
                          KALTO_CAST(DWORD, KALTO_CAST(WORD, language)))
#define PRIMARYLANGID(language) KALTO_CAST(WORD, KALTO_CAST(WORD, language) & 0x3FFu)
#define SUBLANGID(language) KALTO_CAST(WORD, KALTO_CAST(WORD, language) >> 10)
#define LANGIDFROMLCID(locale) KALTO_CAST(WORD, (locale)&0xFFFFu)

/* 64-bit integers by halves. */
#if defined(__GNUC__)
#define KALTO_NAMELESS __extension__
#else
#define KALTO_NAMELESS
#endif
typedef union _LARGE_INTEGER {
    KALTO_NAMELESS struct {
        DWORD LowPart;
        LONG HighPart;
    };
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER, *LPLARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    KALTO_NAMELESS struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
} ULARGE_INTEGER, *PULARGE_INTEGER, *LPULARGE_INTEGER;

/* A count of 100-nanosecond intervals since 1601-01-01 00:00:00 UTC, in two halves. */
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

/* Plane geometry, which records of other interfaces are made of. */
typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef struct tagSIZE {
    LONG cx;
    LONG cy;
} SIZE, *PSIZE, *LPSIZE;

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *PRECT, *LPRECT;
typedef const RECT* LPCRECT;

/* Wherever security attributes are taken they are ignored. */
typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

#endif
