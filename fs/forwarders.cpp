// The file calls that the host performs: arguments and results pass through.
#include "text/convert.h"
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <kalto/host.h>

#include <cerrno>
#include <cstdlib>

HANDLE CreateFile(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                  LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                  DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) {
    return PTR_CreateFile(lpFileName, dwDesiredAccess, dwShareMode, lpSecurityAttributes,
                          dwCreationDisposition, dwFlagsAndAttributes, hTemplateFile);
}

BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED lpOverlapped) {
    return PTR_ReadFile(hFile, lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped);
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped) {
    return PTR_WriteFile(hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped);
}

BOOL CopyFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) {
    return PTR_CopyFile(lpExistingFileName, lpNewFileName, bFailIfExists);
}

BOOL MoveFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName) {
    return PTR_MoveFile(lpExistingFileName, lpNewFileName);
}

BOOL CreateDirectory(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES lpSecurityAttributes) {
    return PTR_CreateDirectory(lpPathName, lpSecurityAttributes);
}

BOOL RemoveDirectory(LPCWSTR lpPathName) {
    return PTR_RemoveDirectory(lpPathName);
}

BOOL DeleteFile(LPCWSTR lpFileName) {
    wchar_t* path = lpFileName != nullptr ? wcsdup(lpFileName) : nullptr;
    if (path == nullptr && lpFileName != nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    for (wchar_t* character = path; character != nullptr && *character != L'\0'; character++)
        if (*character == L'\\')
            *character = L'/';
    BOOL deleted = PTR_DeleteFile(path);
    free(path);
    return deleted;
}

// Deliberate: the path passes as it was given, backslashes included: hosts of the device convert it
// themselves.
FILE* KaltoFopen(const char* path, const char* mode) {
    return PTR_KaltoFopen(path, mode);
}

FILE* _wfopen(const wchar_t* path, const wchar_t* mode) {
    std::string narrow_path;
    std::string narrow_mode;
    if (path == nullptr || mode == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!kalto::to_narrow(path, narrow_path) || !kalto::to_narrow(mode, narrow_mode)) {
        SetLastError(static_cast<DWORD>(errno));
        return nullptr;
    }
    return KaltoFopen(narrow_path.c_str(), narrow_mode.c_str());
}
