/* An application as the projects that are ported here write them: words of the compiler before any include,
 * sockets before windows.h, forward declarations of system records, and everything taken for granted. */
__declspec(dllexport) int __cdecl first_of_all(unsigned __int64 number);
struct _RTL_CRITICAL_SECTION;

#if !defined(UNDER_CE) || _WIN32_WCE < 0x500 || !defined(UNICODE) || !defined(_UNICODE)
#error "not a Windows CE build"
#endif

#include <WinSock2.h>
#include <ws2tcpip.h>

#include <Windows.h>
#include <commctrl.h>
#include <crtdbg.h>
#include <direct.h>
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

static int checks, failures;
#define CHECK(condition)                                                                                     \
    (++checks,                                                                                               \
     (condition) ? (void)0 : (void)(++failures, _tprintf(_T("line %d: %s\n"), __LINE__, _T(#condition))))

static __declspec(thread) int per_thread = 7;
static __declspec(align(16)) BYTE aligned[16];

int __cdecl first_of_all(unsigned __int64 number) {
    return (int)(number >> 32);
}

static __forceinline DWORD twice(DWORD value) {
    return value * 2;
}

static void check_names(void) {
    static const TCHAR text[] = _T("text");
    PUSHORT shorts = NULL;
    ULONG_PTR address = (ULONG_PTR)&shorts;
    FARPROC procedure = NULL;
    LPOVERLAPPED overlapped = NULL;
    UUID id;
    STARTUPINFO startup;
    LARGE_INTEGER large;
    ULARGE_INTEGER unsigned_large;
    OVERLAPPED plain;
    LPCTSTR pointer = TEXT("pointer");

    ZeroMemory(&id, sizeof(id));
    ZeroMemory(&startup, sizeof startup);
    ZeroMemory(&plain, sizeof plain);
    CopyMemory(&id, text, sizeof id.bytes);
    UNREFERENCED_PARAMETER(startup);
    large.QuadPart = -1;
    unsigned_large.u.HighPart = 1;
    unsigned_large.LowPart = 2;
    CHECK(large.HighPart == -1 && large.u.LowPart == 0xFFFFFFFF);
    CHECK(unsigned_large.QuadPart == 0x100000002ull);
    CHECK(ARRAYSIZE(text) == 5 && lstrlen(pointer) == 7 && address != 0);
    CHECK(LOWORD(0x12345678) == 0x5678 && HIWORD(0x12345678) == 0x1234 && MAKELONG(1, 2) == 0x20001);
    CHECK(LOBYTE(0x1234) == 0x34 && HIBYTE(0x1234) == 0x12 && MAKEWORD(2, 2) == 0x202);
    CHECK(FAILED(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) && SUCCEEDED(HRESULT_FROM_WIN32(ERROR_SUCCESS)));
    CHECK(HRESULT_CODE(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) == ERROR_ACCESS_DENIED);
    CHECK(MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT) == 0x400 && MAXIMUM_WAIT_OBJECTS == 64);
    CHECK(DLL_PROCESS_ATTACH != DLL_PROCESS_DETACH && CP_ACP != CP_UTF8);
    CHECK((FILE_FLAG_OVERLAPPED | PAGE_READWRITE | FILE_MAP_WRITE) != 0 && !procedure && !overlapped);
    CHECK(CTL_CODE(FILE_DEVICE_HAL, 13, METHOD_BUFFERED, FILE_ANY_ACCESS) == 0x1010034);
    CHECK(((ULONG_PTR)aligned & 15) == 0 && per_thread == 7 && twice(4) == 8 && timeGetTime() <= INFINITE);
    CHECK(first_of_all((unsigned __int64)5 << 32) == 5 && plain.hEvent == NULL);
    _ASSERTE(_CrtCheckMemory());
    switch (GetLastError()) {
    case ERROR_PATH_NOT_FOUND:
    case ERROR_FILE_NOT_FOUND:
    case ERROR_NO_MORE_FILES:
    case ERROR_SHARING_VIOLATION:
    case ERROR_HANDLE_EOF:
    case ERROR_IO_PENDING:
    default:
        break;
    }
}

static void check_text(void) {
    TCHAR buffer[64], word[16];
    char narrow[16];
    int number = 0;
    _stprintf(buffer, _T("%s %d %S"), _T("wide"), 5, "narrow");
    CHECK(_tcscmp(buffer, _T("wide 5 narrow")) == 0);
    CHECK(_sntprintf(buffer, 4, _T("%s"), _T("abcd")) == 4 && buffer[3] == _T('d'));
    CHECK(_stscanf(_T("12 apples"), _T("%d %s"), &number, word) == 2 && number == 12 &&
          !_tcsicmp(word, _T("APPLES")));
    CHECK(_ttoi(_T("42")) == 42 && _tcscmp(_itot(-42, buffer, 10), _T("-42")) == 0);
    CHECK(_snprintf(narrow, sizeof narrow, "%s", "exact") == 5 && _stricmp(narrow, "EXACT") == 0);
    CHECK(_wcsicmp(CharUpper(lstrcpy(buffer, _T("mixed"))), L"mIXED") == 0 && buffer[0] == _T('M'));
    CHECK(_mbslen((const unsigned char*)"bytes") == 5);
    {
        char* copy = _strdup("copy");
        TCHAR* second = _tcsdup(_T("copy"));
        CHECK(strcmp(copy, "copy") == 0 && lstrcmpi(second, _T("COPY")) == 0);
        free(copy);
        free(second);
    }
}

static unsigned __stdcall count_up(void* argument) {
    per_thread = 8;
    InterlockedIncrement((LONG*)argument);
    _endthreadex(6);
    return 0;
}

static void check_system(void) {
    LPVOID message = NULL;
    WSADATA data;
    SYSTEM_INFO system;
    WIN32_FILE_ATTRIBUTE_DATA attributes;
    CRITICAL_SECTION section;
    TCHAR path[MAX_PATH];
    LONG count = 0;
    unsigned id = 0;
    DWORD code = 0, slot;
    SOCKET s;
    struct sockaddr_in name;
    int length = sizeof name;
    LPBYTE memory = (LPBYTE)HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 10);
    HANDLE thread = (HANDLE)_beginthreadex(NULL, 0, count_up, &count, 0, &id), event;

    CHECK(WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0 && count == 1 && per_thread == 7 && id != 0);
    CHECK(GetExitCodeThread(thread, &code) && code == 6 && CloseHandle(thread));
    CHECK(memory && HeapSize(GetProcessHeap(), 0, memory) == 10 && HeapFree(GetProcessHeap(), 0, memory));
    CHECK(FormatMessage(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                            FORMAT_MESSAGE_IGNORE_INSERTS,
                        NULL, ERROR_FILE_NOT_FOUND, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                        (LPTSTR)&message, 0, NULL) > 0);
    CHECK(_tcsncmp((LPTSTR)message, _T("No such file"), 12) == 0 && LocalFree(message) == NULL);
    GetSystemInfo(&system);
    CHECK(system.dwPageSize >= 4096 && system.dwNumberOfProcessors >= 1);
    CHECK(GetTempPath(MAX_PATH, path) && GetFileAttributesEx(path, GetFileExInfoStandard, &attributes));
    CHECK(attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    CHECK(GetCurrentDirectory(MAX_PATH, path) && GetModuleHandle(NULL) != NULL);
    CHECK(GetProcAddress(GetModuleHandle(_T("coredll.dll")), _T("GetTickCount")) != NULL);
    InitializeCriticalSection(&section);
    CHECK(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    DeleteCriticalSection(&section);
    slot = TlsAlloc();
    CHECK(slot != TLS_OUT_OF_INDEXES && TlsSetValue(slot, &slot) && TlsGetValue(slot) == &slot &&
          TlsFree(slot));
    event = CreateEvent(NULL, TRUE, TRUE, _T("porting"));
    thread = OpenEvent(EVENT_ALL_ACCESS, FALSE, _T("porting"));
    CHECK(thread == event && CloseHandle(event) && CloseHandle(thread));
    CHECK(WSAStartup(MAKEWORD(2, 2), &data) == 0 && data.wVersion == 0x202);
    s = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    CHECK(s != INVALID_SOCKET && getsockname(s, (SOCKADDR*)&name, (socklen_t*)&length) == 0);
#ifdef __cplusplus
    CHECK(getsockname(s, (LPSOCKADDR)&name, &length) == 0);
#endif
    CHECK(closesocket(s) == 0 && WSACleanup() == 0);
    CHECK(GetCurrentProcess() != NULL && SleepEx(0, TRUE) == 0 && _getpid() == (int)GetCurrentProcessId());
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPTSTR command_line, int show) {
    UNREFERENCED_PARAMETER(instance);
    UNREFERENCED_PARAMETER(previous);
    UNREFERENCED_PARAMETER(show);
    check_names();
    check_text();
    check_system();
    _tprintf(_T("%s: "), command_line);
    printf("%d of %d checks failed\n", failures, checks);
    return failures;
}
