/* Strings and formatted output: conversions between wide text and the multibyte text of the current locale,
 * the formatted-print families with the Windows meaning of %s, debug output, numbers and bounded copies.
 *
 * A wide character has 32 bits. The current locale of the C library decides the encoding of narrow text; no
 * code page is ever consulted, and the library never calls setlocale itself. No function here touches the
 * last error, and all are safe to call from any thread unless said otherwise. */
#ifndef KALTO_TEXT_H
#define KALTO_TEXT_H

#include <kalto/types.h>

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

KALTO_BEGIN_DECLS

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

KALTO_END_DECLS

#endif
