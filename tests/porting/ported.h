/* What an application of the kind that is ported here begins with: words of the compiler before any include,
 * sockets before windows.h, forward declarations of system records, and everything taken for granted. */
__declspec(dllexport) int __cdecl first_of_all(unsigned __int64 number);
struct _RTL_CRITICAL_SECTION;

#if !defined(UNDER_CE) || _WIN32_WCE < 0x500 || !defined(UNICODE) || !defined(_UNICODE)
#error "not a Windows CE build"
#endif
#pragma comment(lib, "ws2.lib")

#include <WinSock2.h>
#include <ws2tcpip.h>

#include <Windows.h>
#include <commctrl.h>
#include <crtdbg.h>
#include <direct.h>
#include <errno.h>
#include <io.h>
#include <mbstring.h>
#include <mmsystem.h>
#include <process.h>
#include <shellapi.h>
#include <stdio.h>
#include <stdlib.h>
#include <tchar.h>
#include <windowsx.h>
#include <winioctl.h>
#include <winsock.h>

/* Names that sources keep for themselves. */
typedef struct {
    unsigned char bytes[16];
} UUID;

extern int checks, failures;
#define CHECK(condition)                                                                                     \
    (++checks, (condition) ? (void)0 : (void)(++failures, _tprintf(_T("%hs:%d\n"), __FILE__, __LINE__)))
/* That a call says no, and why. */
#define FAILS(error, call) (SetLastError(0), !(call) && GetLastError() == (DWORD)(error))

void check_system(void);
