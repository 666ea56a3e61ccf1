// Calls of the interface that have no counterpart here. Deliberate, each of them: applications probe these
// and cope with the failure.
#include <kalto/kernel.h>

DWORD SuspendThread(HANDLE /*hThread*/) {
    return 0xFFFFFFFFu;
}

HANDLE CreateToolhelp32Snapshot(DWORD /*dwFlags*/, DWORD /*th32ProcessID*/) {
    return nullptr;
}

BOOL CloseToolhelp32Snapshot(HANDLE /*hSnapshot*/) {
    return FALSE;
}

BOOL Process32First(HANDLE /*hSnapshot*/, LPPROCESSENTRY32 /*lppe*/) {
    return FALSE;
}

BOOL Process32Next(HANDLE /*hSnapshot*/, LPPROCESSENTRY32 /*lppe*/) {
    return FALSE;
}

HANDLE OpenProcess(DWORD /*dwDesiredAccess*/, BOOL /*bInheritHandle*/, DWORD /*dwProcessId*/) {
    return nullptr;
}

BOOL TerminateProcess(HANDLE /*hProcess*/, DWORD /*uExitCode*/) {
    return FALSE;
}

BOOL DeviceIoControl(HANDLE /*hDevice*/, DWORD /*dwIoControlCode*/, LPVOID /*lpInBuffer*/,
                     DWORD /*nInBufferSize*/, LPVOID /*lpOutBuffer*/, DWORD /*nOutBufferSize*/,
                     LPDWORD /*lpBytesReturned*/, struct _OVERLAPPED* /*lpOverlapped*/) {
    return FALSE;
}

DWORD SetSystemMemoryDivision(DWORD /*dwStorePages*/) {
    return 0;
}

BOOL GetSystemMemoryDivision(LPDWORD /*lpdwStorePages*/, LPDWORD /*lpdwRamPages*/, LPDWORD /*lpdwPageSize*/) {
    return FALSE;
}
