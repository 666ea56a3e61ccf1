/* Memory, threads, files, modules and sockets. */
#include "ported.h"

static void check_heap(HANDLE heap, SIZE_T size) {
    SIZE_T i, right = 0;
    BYTE* block = (BYTE*)HeapAlloc(heap, HEAP_ZERO_MEMORY, size);
    CHECK(block && HeapSize(heap, 0, block) == size);
    FillMemory(block, size, 7);
    block = (BYTE*)HeapReAlloc(heap, HEAP_ZERO_MEMORY, block, size + 5000);
    for (i = 0; i < size + 5000; ++i)
        right += block[i] == (i < size ? 7 : 0);
    CHECK(right == size + 5000);
    CHECK(HeapReAlloc(heap, HEAP_REALLOC_IN_PLACE_ONLY, block, 3) == block && HeapSize(heap, 0, block) == 3);
    CHECK(!HeapReAlloc(heap, HEAP_REALLOC_IN_PLACE_ONLY, block, 1 << 20) && !HeapAlloc(heap, 0, (SIZE_T)-1));
    CHECK(HeapFree(heap, 0, block) && HeapFree(heap, 0, NULL) && HeapSize(heap, 0, NULL) == (SIZE_T)-1);
}

static void check_heaps(void) {
    static const SIZE_T sizes[] = {0, 13, 300001};
    HANDLE own = HeapCreate(0, 0, 0);
    HLOCAL block;
    unsigned i;
    for (i = 0; i < ARRAYSIZE(sizes); ++i) {
        check_heap(GetProcessHeap(), sizes[i]);
        check_heap(own, sizes[i]);
    }
    block = LocalReAlloc(LocalAlloc(LMEM_FIXED, 1), 20, LMEM_ZEROINIT);
    CHECK(LocalSize(block) == 20 && HeapFree(GetProcessHeap(), 0, block)); /* sources mix the families */
    CHECK(FAILS(ERROR_NOT_ENOUGH_MEMORY, LocalAlloc(LPTR, (SIZE_T)-5)));
    CHECK(HeapAlloc(own, 0, 5) && HeapDestroy(own)); /* with its block */
    CHECK(FAILS(ERROR_INVALID_HANDLE, HeapDestroy(own)));
}

#define REFUSED ERROR_INVALID_PARAMETER
static void check_virtual_memory(void) {
    static const DWORD accesses[] = {PAGE_READWRITE, PAGE_READONLY, PAGE_EXECUTE_READ, PAGE_NOACCESS,
                                     PAGE_READWRITE};
    const DWORD rw = PAGE_READWRITE;
    SIZE_T page;
    DWORD old = 77;
    BYTE* region;
    SYSTEM_INFO system;
    int i;
    GetSystemInfo(&system);
    page = system.dwPageSize;
    region = (BYTE*)VirtualAlloc(NULL, 4 * page, MEM_RESERVE, PAGE_NOACCESS);
    CHECK(region && VirtualAlloc(region + page + 5, 1, MEM_COMMIT, rw) == region + page && region[page] == 0);
    region[2 * page - 1] = 9;
    for (i = 1; i < 5; ++i)
        CHECK(VirtualProtect(region + page + 1, page - 1, accesses[i], &old) && old == accesses[i - 1]);
    CHECK(region[2 * page - 1] == 9);
    CHECK(FAILS(REFUSED, VirtualAlloc(region + 3 * page, 2 * page, MEM_COMMIT, rw))); /* beyond it */
    CHECK(VirtualFree(region + page, page, MEM_DECOMMIT) &&
          VirtualAlloc(region, 4 * page, MEM_COMMIT, rw) == region);
    CHECK(region[2 * page - 1] == 0 && FAILS(REFUSED, VirtualFree(region + page, 0, MEM_RELEASE)));
    CHECK(FAILS(REFUSED, VirtualFree(region, page, MEM_RELEASE)) && VirtualFree(region, 0, MEM_RELEASE));
    CHECK(FAILS(REFUSED, VirtualFree(region, 0, MEM_RELEASE)));
    CHECK(FAILS(REFUSED, VirtualAlloc(NULL, 1, MEM_COMMIT | 1, rw)));
    CHECK(FAILS(ERROR_NOT_ENOUGH_MEMORY, VirtualAlloc(NULL, (SIZE_T)-1, MEM_COMMIT, rw)));
}

static __declspec(thread) int per_thread = 7;
static struct {
    CRITICAL_SECTION section;
    DWORD slot;
    HANDLE looked, go_on;
} shared;

static unsigned __stdcall look(void* argument) {
    unsigned found = 5;
    per_thread = 8;
    if (TryEnterCriticalSection(&shared.section))
        found |= 16;
    SetLastError(5);
    if (TlsGetValue(shared.slot) || GetLastError() != ERROR_SUCCESS)
        found |= 32;
    SetEvent(shared.looked);
    WaitForSingleObject(shared.go_on, INFINITE);
    if (argument)
        _endthreadex(found + 1);
    return found;
}

static void check_thread(void* argument, DWORD result) {
    FILETIME none, kernel, user;
    DWORD code = 0;
    unsigned id = 0;
    HANDLE thread = (HANDLE)_beginthreadex(NULL, 0, look, argument, 0, &id);
    CHECK(thread && GetThreadId(thread) == id &&
          WaitForSingleObject(shared.looked, INFINITE) == WAIT_OBJECT_0);
    CHECK(GetThreadTimes(thread, &none, &none, &kernel, &user) &&
          (user.dwLowDateTime || user.dwHighDateTime));
    SetEvent(shared.go_on);
    CHECK(WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0);
    CHECK(GetExitCodeThread(thread, &code) && code == result);
    CHECK(FAILS(ERROR_INVALID_HANDLE, GetThreadTimes(thread, &none, &none, &kernel, &user)));
    CHECK(CloseHandle(thread));
}

static void __cdecl set_event(void* event) {
    SetEvent(event);
    if (event == shared.go_on)
        _endthread();
}

static void check_threads(void) {
    HANDLE suspended;
    shared.looked = CreateEvent(NULL, FALSE, FALSE, NULL);
    shared.go_on = CreateEvent(NULL, FALSE, FALSE, NULL);
    shared.slot = TlsAlloc();
    InitializeCriticalSection(&shared.section);
    CHECK(shared.slot != TLS_OUT_OF_INDEXES && TlsSetValue(shared.slot, &shared));
    CHECK(TryEnterCriticalSection(&shared.section) && TryEnterCriticalSection(&shared.section));
    check_thread(NULL, 5);
    check_thread(&shared, 6);
    CHECK(per_thread == 7 && TlsGetValue(shared.slot) == &shared && TlsFree(shared.slot));
    CHECK(FAILS(REFUSED, TlsFree(shared.slot)) && FAILS(REFUSED, TlsGetValue(shared.slot)));
    DeleteCriticalSection(&shared.section);
    CHECK(_beginthread(set_event, 0, shared.looked) != (UINT_PTR)-1);
    CHECK(WaitForSingleObject(shared.looked, INFINITE) == WAIT_OBJECT_0);
    CHECK(_beginthread(set_event, 0, shared.go_on) != (UINT_PTR)-1);
    CHECK(WaitForSingleObject(shared.go_on, INFINITE) == WAIT_OBJECT_0);
    CHECK(GetThreadId(GetCurrentThread()) == GetCurrentThreadId() && SleepEx(0, TRUE) == 0);
    /* Terminated before its start: what it would have been started with is the leak checker's to find. */
    suspended = (HANDLE)_beginthreadex(NULL, 0, look, NULL, CREATE_SUSPENDED, NULL);
    CHECK(TerminateThread(suspended, 0) && CloseHandle(suspended));
    CHECK((errno = 0, !_beginthreadex(NULL, 0, NULL, NULL, 0, NULL)) && errno == EINVAL);
    CHECK((errno = 0, _beginthread(NULL, 0, NULL) == (UINT_PTR)-1) && errno == EINVAL);
    CHECK(CloseHandle(shared.looked) && CloseHandle(shared.go_on));
}

static void check_interlocked(void) {
    LONG number = 5;
    PVOID pointer = &number;
    CHECK(InterlockedCompareExchange(&number, 6, 4) == 5 && InterlockedCompareExchange(&number, 6, 5) == 5);
    CHECK(number == 6 && InterlockedCompareExchangePointer(&pointer, NULL, &pointer) == &number);
    CHECK(InterlockedExchangePointer(&pointer, &pointer) == &number && pointer == &pointer);
}

static void check_files(void) {
    static const char text[] = "12345";
    TCHAR path[MAX_PATH], again[MAX_PATH], there[MAX_PATH];
    WIN32_FILE_ATTRIBUTE_DATA data;
    DWORD done = 0, number;
    HANDLE file;
    CHECK(GetTempPath(5, path) == 6 && GetTempPath(MAX_PATH, path) == 5 && !_tcscmp(path, _T("\\tmp\\")));
    CHECK((number = GetTempFileName(path, _T("kalto"), 0, again)) != 0);
    CHECK(GetTempFileName(_T("\\tmp"), _T("kal"), number, there) == number && !_tcscmp(again, there));
    file = CreateFile(there, GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, NULL);
    CHECK(WriteFile(file, text, 5, &done, NULL) && CloseHandle(file));
    CHECK(GetFileAttributesEx(there, GetFileExInfoStandard, &data) && !data.nFileSizeHigh &&
          data.nFileSizeLow == 5);
    CHECK(data.dwFileAttributes == GetFileAttributes(there) && data.ftLastWriteTime.dwHighDateTime);
    CHECK(DeleteFile(there));
    CHECK(FAILS(ERROR_FILE_NOT_FOUND, GetFileAttributesEx(there, GetFileExInfoStandard, &data)));
    CHECK(FAILS(ERROR_NOT_SUPPORTED, GetFileAttributesEx(_T("/dev/null"), GetFileExInfoStandard, &data)));
    for (number = 0; number < MAX_PATH - 9; ++number)
        again[number] = _T('x');
    again[number] = 0;
    CHECK(FAILS(ERROR_BUFFER_OVERFLOW, GetTempFileName(again, _T("k"), 1, there)));
    CHECK(SetCurrentDirectory(_T("\\tmp")) && GetCurrentDirectory(4, path) == 5);
    CHECK(GetCurrentDirectory(MAX_PATH, path) == 4 && !_tcscmp(path, _T("\\tmp")));
    _stprintf(there, _T(".\\kalto_porting_%d"), _getpid());
    _stprintf(again, _T("./kalto_porting_%d_"), _getpid());
    CHECK(_tmkdir(there) == 0 && _trename(there, again) == 0 && _taccess(there, 0) == -1);
    CHECK(_tremove(again) == 0 && _trmdir(again) == -1 && _tunlink(NULL) == -1);
}

static void check_modules(void) {
    HMODULE program = GetModuleHandle(NULL), library = GetModuleHandle(_T("libc.so.6"));
    CHECK(program && program == GetModuleHandle(_T("CoreDll.dll")) && library && library != program);
    FreeLibrary(program); /* wrong, but seen */
    CHECK(GetProcAddressA(GetModuleHandle(NULL), "Sleep") && GetProcAddress(program, _T("GetTickCount")));
    CHECK(FAILS(ERROR_MOD_NOT_FOUND, GetModuleHandle(_T("no_such_module.dll"))));
    CHECK(FAILS(ERROR_MOD_NOT_FOUND, LoadLibraryEx(_T("no_such_module.dll"), NULL, 0)));
}

static void check_process(void) {
    TCHAR command[] = _T("/bin/true");
    PROCESS_INFORMATION process;
    STARTUPINFO startup;
    DWORD code = 5;
    CHECK(GetExitCodeProcess(GetCurrentProcess(), &code) && code == STILL_ACTIVE);
    ZeroMemory(&startup, sizeof startup);
    CHECK(CreateProcess(NULL, command, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &process));
    CHECK(FAILS(ERROR_NOT_SUPPORTED, GetExitCodeProcess(process.hThread, &code)) && code == 0xFFFFFFFF);
    CHECK(CloseHandle(process.hThread) && FAILS(ERROR_INVALID_HANDLE, GetExitCodeProcess(NULL, &code)));
    CHECK(SetErrorMode(SEM_FAILCRITICALERRORS) == 0 && SetErrorMode(0) == SEM_FAILCRITICALERRORS);
    CHECK(!IsProcessorFeaturePresent(PF_FLOATING_POINT_EMULATED) && GetACP() == 20127);
}

static void check_sockets(void) {
    WSADATA data;
    fd_set set;
    struct timeval timeout = {0, 1000};
    struct sockaddr_in name;
    int length = sizeof name, ready;
    u_long waiting = ~0ul;
    SOCKET s;
    CHECK(WSAStartup(MAKEWORD(2, 2), &data) == 0 && data.wVersion == 0x202);
    s = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    ZeroMemory(&name, sizeof name);
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    CHECK(s != INVALID_SOCKET && bind(s, (LPSOCKADDR)&name, sizeof name) != SOCKET_ERROR);
    CHECK(getsockname(s, (SOCKADDR*)&name, (socklen_t*)&length) == 0);
#ifdef __cplusplus
    CHECK(getsockname(s, (LPSOCKADDR)&name, &length) == 0);
#endif
    for (ready = 0; ready < 2; ++ready) {
        FD_ZERO(&set);
        FD_SET(s, &set);
        CHECK(select(0, &set, NULL, NULL, &timeout) == ready && timeout.tv_usec == 1000);
        CHECK(ioctlsocket(s, FIONREAD, &waiting) == 0 && waiting == (ready ? 3u : 0u));
        CHECK(sendto(s, "abc", 3, 0, (LPSOCKADDR)&name, sizeof name) == 3);
    }
    CHECK(closesocket(s) == 0 && WSACleanup() == 0);
}

void check_system(void) {
    check_heaps();
    check_virtual_memory();
    check_threads();
    check_interlocked();
    check_files();
    check_modules();
    check_process();
    check_sockets();
}
