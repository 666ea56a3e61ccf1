/* Text in the character width of the build, which is the wide one: the _t names of the run-time library. Some
 * stand for functions that the C library declares only with its extensions (the default of the gnu dialects).
 */
#ifndef KALTO_TCHAR_H
#define KALTO_TCHAR_H

#include <kalto/porting.h>
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

/* The entry of a console program, instead of WinMain: see <kalto/core.h>. */
#define _tmain wmain

/* Formatted output and input, with the Windows meaning of %s. */
#define _stprintf wsprintf
#define _vstprintf wvsprintf
#define _sntprintf _snwprintf
#define _vsntprintf _vsnwprintf
#define _tprintf KaltoPrintText
#define _ftprintf KaltoPrintTextTo
#define _vtprintf KaltoPrintTextList
#define _vftprintf KaltoPrintTextListTo
#define _putts KaltoPutLine
#define _fputts KaltoPutText
#define _fgetts KaltoGetText
#define _fgettc KaltoGetCharacter
#define _fputtc KaltoPutCharacter
#define _gettc KaltoGetCharacter
#define _puttc KaltoPutCharacter
#define _gettchar() KaltoGetCharacter(stdin)
#define _puttchar(character) KaltoPutCharacter((character), stdout)
#define _stscanf KaltoScanText

/* Files. */
#define _tfopen _wfopen
#define _tremove _wremove
#define _trename _wrename
#define _tunlink _wunlink
#define _taccess _waccess
#define _tmkdir _wmkdir
#define _trmdir _wrmdir
#define _tchdir _wchdir

/* Numbers. */
#define _ttoi _wtoi
#define _ttol _wtol
#define _ttoi64 _wtoi64
#define _tstoi _wtoi
#define _tstol _wtol
#define _tcstol wcstol
#define _tcstoul wcstoul
#define _tcstod wcstod
#define _tcstoi64 wcstoll
#define _tcstoui64 wcstoull
#define _tstof _wtof
#define _ttof _wtof
#define _tstoi64 _wtoi64
#define _itot _itow
#define _ltot _ltow
#define _ultot _ultow
#define _i64tot _i64tow

/* Strings. */
#define _tcslen wcslen
#define _tcsclen wcslen
#define _tcscpy wcscpy
#define _tcsncpy wcsncpy
#define _tcscat wcscat
#define _tcsncat wcsncat
#define _tcscmp wcscmp
#define _tcsncmp wcsncmp
#define _tcsicmp _wcsicmp
#define _tcsnicmp _wcsnicmp
#define _tcsnccmp wcsncmp
#define _tcsncicmp _wcsnicmp
#define _tcsicoll _wcsicmp
#define _tcsxfrm wcsxfrm
#define _tcscoll wcscoll
#define _tcschr wcschr
#define _tcsrchr wcsrchr
#define _tcsstr wcsstr
#define _tcspbrk wcspbrk
#define _tcsspn wcsspn
#define _tcscspn wcscspn
#define _tcsdup _wcsdup
#define _tcsftime wcsftime
#define _tcstok mywcstok
#define _tcsrev wcsrev
#define _tcslwr wcslwr
#define _tcsupr _wcsupr
#define _tcsnccpy wcsncpy
#define _tcsnccat wcsncat
#define _tcsinc(text) ((text) + 1)
#define _tcsdec(start, text) ((text) > (start) ? (text)-1 : NULL)
#define _tcsnextc(text) (*(text))
#define _tcsninc(text, count) ((text) + (count))
#define _tclen(text) 1
#define _tccpy(to, from) ((void)(*(to) = *(from)))
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
#define _istascii(character) ((character) < 0x80)
#define _totupper towupper
#define _totlower towlower

#endif
