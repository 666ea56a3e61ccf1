/* Strings and formatted output: conversions between wide text and the multibyte text of the current locale,
 * the formatted-print families with the Windows meaning of %s, debug output, numbers and bounded copies.
 *
 * A wide character has 32 bits. The current locale of the C library decides the encoding of narrow text; no
 * code page is ever consulted, and the library never calls setlocale itself. No function here touches the
 * last error, and all are safe to call from any thread unless said otherwise. */
#ifndef KALTO_TEXT_H
#define KALTO_TEXT_H

#include <kalto/types.h>
#include <stdarg.h>
#include <time.h>

/* Code pages and conversion flags are accepted and ignored. */
#define CP_ACP 0
#define CP_OEMCP 1
#define CP_THREAD_ACP 3
#define CP_UTF7 65000
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_COMPOSITE 0x00000002
#define MB_USEGLYPHCHARS 0x00000004
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400
#define WC_COMPOSITECHECK 0x00000200
#define WC_DISCARDNS 0x00000010
#define WC_SEPCHARS 0x00000020
#define WC_DEFAULTCHAR 0x00000040

/* The count that asks strncpy_s and wcsncpy_s to truncate. */
#ifndef _TRUNCATE
#define _TRUNCATE KALTO_CAST(size_t, -1)
#endif
typedef int errno_t;

KALTO_BEGIN_DECLS

/* ---- Conversions ---- */

/* Converts the narrow text source, with its terminator, into destination, which needs room for as many wide
 * characters as source has bytes, plus one. Returns destination. At a sequence that the locale does not know
 * the conversion stops without a terminator. Neither argument may be null. */
KALTO_API WCHAR* mymbstowcs(WCHAR* destination, const char* source);

/* Converts the wide text source into destination and writes no more bytes than source has characters, plus
 * one for the terminator. Text whose multibyte form is longer is cut at that limit, at a whole character, and
 * then has no terminator. Returns destination. At a character that the locale cannot express the conversion
 * stops without a terminator. Neither argument may be null. */
KALTO_API char* mywcstombs(char* destination, const WCHAR* source);

/* Converts cchWideChar characters of lpWideCharStr, up to its terminator if that comes first, into the
 * encoding of the locale; a negative cchWideChar means the whole text with its terminator. No more than the
 * smaller of cbMultiByte and the character count is ever written, so multibyte text wants a destination and a
 * count as large as its bytes. cbMultiByte 0 asks for the size and writes nothing.
 *
 * Returns that limit when the text reaches it (a size query counts without writing); otherwise the bytes
 * written, plus one when the terminator was converted, or when the source has a zero at the place reached by
 * going on, from the first character that was not converted (in a size query: from the first), by as many
 * characters as bytes were counted. Returns -1, not 0, for text that the locale cannot express, with the part
 * before it written; a negative cbMultiByte is returned as it is and nothing is written. Characters beyond
 * cchWideChar are never looked at.
 *
 * Code page, flags and default character are ignored; *lpUsedDefaultChar, if not null, becomes FALSE. Windows
 * fails where the destination is too small and sizes multibyte text truly. */
KALTO_API int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                                  LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                                  LPBOOL lpUsedDefaultChar);

/* The mirror image of WideCharToMultiByte, by the same rules: cbMultiByte counts the bytes of the source
 * (negative: the whole text with its terminator), cchWideChar the characters of the destination (0: size
 * query). A size query counts the terminator only for text of single-byte characters. A multibyte character
 * that the count cuts in two is text that cannot be expressed: -1. */
KALTO_API int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                                  LPWSTR lpWideCharStr, int cchWideChar);

/* ---- Formatted output ----
 *
 * Common to the families below: formats follow the Windows meaning of the string conversions, everything else
 * is the C library's (%ls is wide and %lld takes a long long everywhere; there is no %I64d). In the narrow
 * family %s, %S, %c and %C all take narrow text. In the wide family %s and %c take wide text, %S and %C
 * narrow text.
 *
 * A width or precision with the digit 8 in it switches this off for its conversion, which then has the C
 * library's meaning: in the wide family %8s takes narrow text, in the narrow family %8S takes wide text. A
 * format that ends inside a conversion is passed on as it is, and the C library reports -1.
 *
 * Each result is that of the C library: the characters written without the terminator (the narrow family
 * counts what a larger buffer would have held), or -1 for text or a format that cannot be converted and, in
 * the wide family, for a buffer that is too small. 0, with nothing written, when memory is out. A size counts
 * the units of the buffer, its terminator included; the calls without one assume 32767. The argument list is
 * used up. */

/* The narrow family. */
KALTO_API int vsnmyprintf(char* buffer, size_t size, const char* format, va_list arguments);
KALTO_API int vsmyprintf(char* buffer, const char* format, va_list arguments);
KALTO_API int _sprintf(char* buffer, const char* format, ...);

/* The wide family. Windows limits wsprintf to 1024 characters. */
KALTO_API int vswmyprintf(WCHAR* buffer, size_t size, const WCHAR* format, va_list arguments);
KALTO_API int wvsprintf(LPWSTR buffer, LPCWSTR format, va_list arguments);
KALTO_API int wsprintf(LPWSTR buffer, LPCWSTR format, ...);
/* -1 also for a result that equals the size. What was cut may have no terminator, as on Windows; the same
 * goes for the others of this family. */
KALTO_API int wsnprintf(WCHAR* buffer, size_t size, const WCHAR* format, ...);
#define wvsprintfW wvsprintf
#define wsprintfW wsprintf

/* A small formatter of its own, without any size limit: buffer must hold the result. Each argument is one
 * machine word. Returns the characters written, without the terminator. arguments itself is not used up.
 *
 * A conversion is a percent sign, an optional - for left-justified text, zeros for padding with zeros (on
 * either side), a width, and one of: s narrow text, ls wide text (written as by mywcstombs), c a character, d
 * signed, u unsigned, x and X hexadecimal. Null text prints "(null)". With zero padding and a width the sign
 * of a negative number comes first, otherwise it stands before the digits. Text is never cut to the width.
 * Any other character in the place of the conversion is dropped and takes no argument; %% is a percent sign.
 * A format that ends inside a conversion ends there. */
KALTO_API int android_vsprint(char* buffer, const char* format, va_list arguments);

/* strftime with a wide format and a wide result. buffer must hold size characters, and all of them are
 * written: the text, then zeros. When the narrow form of the text and its terminator need more than size
 * bytes, the text is empty, and so it is when the locale cannot express the format or memory is out. Returns
 * buffer. */
KALTO_API WCHAR* android_wcsftime(WCHAR* buffer, size_t size, const WCHAR* format, const struct tm* time);

/* ---- Debug output ---- */

/* Writes the text, in the encoding of the locale, to standard error: no prefix, no newline. The text is used
 * as the format of fprintf: a percent sign must be doubled. A character that the locale cannot express comes
 * out as a question mark; null prints nothing. Returns the result of fprintf: bytes written, or less than 0.
 * May block as standard error does. Windows returns nothing. */
KALTO_API int OutputDebugString(LPCWSTR lpOutputString);
#define OutputDebugStringW OutputDebugString

/* Formats by the rules of the wide family, at most 1023 characters, and passes the result to
 * OutputDebugString, also when it was cut: a percent sign to be seen is written as four. Returns the
 * formatting result, -1 for one that was cut, or 0 when memory is out. */
KALTO_API int DebugPrint(const WCHAR* format, ...);

/* ---- Numbers ---- */

/* The number at the start of the text: white space is skipped, then an optional sign, then decimal digits up
 * to the first other character; 0 when there is none. Wraps around at 32 bits, where Windows gives the
 * nearest number. */
KALTO_API int _wtoi(const WCHAR* text);
KALTO_API LONG _wtol(const WCHAR* text);
/* The same in 64 bits, except that only the space character is skipped. */
KALTO_API __int64 _wtoi64(const WCHAR* text);

/* Writes value in the radix to buffer, with lower-case letters from ten up, and returns buffer, which must
 * hold 35 characters. A negative value has a sign in every radix, where Windows shows the bits unless the
 * radix is ten. A radix below 1 gives empty text. */
KALTO_API char* _ltoa(LONG value, char* buffer, int radix);

/* The larger and the smaller one. Functions, never macros: std::max and std::min stay usable. */
KALTO_API int(max)(int a, int b);
KALTO_API int(min)(int a, int b);

/* ---- Wide strings ---- */

/* Reverses the text in place and returns it. */
KALTO_API WCHAR* wcsrev(WCHAR* text);
/* Lowers every character in place, as the locale knows it, and returns the text. */
KALTO_API WCHAR* wcslwr(WCHAR* text);

/* The next token of the text, ended in place by a terminator over the delimiter behind it; null when there is
 * none. With a null text goes on behind the last token found. Not reentrant: that place is one for the whole
 * process, shared by all threads. */
KALTO_API WCHAR* mywcstok(WCHAR* text, const WCHAR* delimiters);

/* ---- Bounded copies ---- */

/* Moves or copies count bytes and returns 0. The size is not looked at: unlike on Windows there is no check.
 */
KALTO_API errno_t memmove_s(void* destination, size_t size, const void* source, size_t count);
KALTO_API errno_t memcpy_s(void* destination, size_t size, const void* source, size_t count);

/* Fill the whole destination, size units, with zeros, then copy the source; null counts as empty text.
 *
 * With count _TRUNCATE: as much as fits, without a terminator when it fills the destination; returns 0.
 * Otherwise returns EINVAL, the destination left all zero, when the source, cut to count, does not fit with
 * its terminator; else copies the source and returns 0. The count limits the check alone: the WHOLE source is
 * copied, beyond the destination if it is longer. Windows copies no more than count and terminates. */
KALTO_API errno_t strncpy_s(char* destination, size_t size, const char* source, size_t count);
KALTO_API errno_t wcsncpy_s(WCHAR* destination, size_t size, const WCHAR* source, size_t count);

KALTO_END_DECLS

#endif
