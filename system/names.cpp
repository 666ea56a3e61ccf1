// The names of the user and of the machine are the host's.
#include <cwchar>
#include <kalto/host.h>
#include <kalto/system.h>

BOOL GetUserName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    return PTR_GetUserName(lpBuffer, lpnSize);
}

BOOL GetComputerName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    return PTR_GetHostName(lpBuffer, lpnSize);
}

BOOL SetComputerName(LPCWSTR lpComputerName) {
    if (lpComputerName == nullptr || lpComputerName[0] == L'\0') {
        return FALSE;
    }
    const auto length = static_cast<DWORD>(std::wcslen(lpComputerName));
    return PTR_SetHostName(lpComputerName, length) != FALSE ? TRUE : FALSE;
}
