/* Text in the character width of the build, which is the wide one: the _t names of the run-time library. Some
 * stand for functions that the C library declares only with its extensions (the default of the gnu dialects).
 */
#ifndef KALTO_TCHAR_H
#define KALTO_TCHAR_H

#include <kalto/text.h>
#include <kalto/types.h>
#include <wchar.h>
#include <wctype.h>

typedef WCHAR _TCHAR;
typedef WCHAR _TSCHAR;
typedef WCHAR _TUCHAR;
typedef WCHAR _TXCHAR;
typedef wint_t _TINT;
#define _TEOF WEOF

/* Formatted output, with the Windows meaning of %s. */
#define _stprintf wsprintf
#define _vstprintf wvsprintf
#define _sntprintf wsnprintf
#define _vsntprintf vswmyprintf

/* Numbers. */
#define _ttoi _wtoi
#define _ttol _wtol
#define _ttoi64 _wtoi64
#define _tstoi _wtoi
#define _tstol _wtol
#define _tcstol wcstol
#define _tcstoul wcstoul
#define _tcstod wcstod

/* Strings. */
#define _tcslen wcslen
#define _tcsclen wcslen
#define _tcscpy wcscpy
#define _tcsncpy wcsncpy
#define _tcscat wcscat
#define _tcsncat wcsncat
#define _tcscmp wcscmp
#define _tcsncmp wcsncmp
#define _tcsicmp wcscasecmp
#define _tcsnicmp wcsncasecmp
#define _tcscoll wcscoll
#define _tcschr wcschr
#define _tcsrchr wcsrchr
#define _tcsstr wcsstr
#define _tcspbrk wcspbrk
#define _tcsspn wcsspn
#define _tcscspn wcscspn
#define _tcsdup wcsdup
#define _tcsftime wcsftime
#define _tcstok mywcstok
#define _tcsrev wcsrev
#define _tcslwr wcslwr
#define _tcsncpy_s wcsncpy_s

/* Characters. */
#define _istalpha iswalpha
#define _istdigit iswdigit
#define _istxdigit iswxdigit
#define _istalnum iswalnum
#define _istspace iswspace
#define _istupper iswupper
#define _istlower iswlower
#define _istpunct iswpunct
#define _istprint iswprint
#define _istcntrl iswcntrl
#define _istgraph iswgraph
#define _totupper towupper
#define _totlower towlower

#endif
