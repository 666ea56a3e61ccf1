/* The part of <kalto/porting.h> about text: letters, null texts, the run-time library's names, formatted
 * output and streams. The common rules stand there. */
#ifndef KALTO_PORTING_TEXT_H
#define KALTO_PORTING_TEXT_H

#include <kalto/text.h>
#include <kalto/types.h>
#include <stdarg.h>
#include <stdio.h>

KALTO_BEGIN_DECLS

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
