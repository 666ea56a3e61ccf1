// The directory for temporary files and the working directory.
#include "porting/failure.h"
#include "porting/out_text.h"
#include "text/convert.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <kalto/porting.h>
#include <new>
#include <unistd.h>

using namespace kalto;

static bool to_windows_path(const char* path, bool as_prefix, std::wstring& out) {
    if (!to_wide(path, out))
        return false;
    std::replace(out.begin(), out.end(), L'/', L'\\');
    if (!as_prefix || (!out.empty() && out.back() == L'\\'))
        return true;
    try {
        out += L'\\';
        return true;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

DWORD GetTempPath(DWORD nBufferLength, LPWSTR lpBuffer) {
    std::wstring path;
    if (!to_windows_path(g_tmpPath.c_str(), true, path))
        return fail(static_cast<DWORD>(errno), DWORD{0});
    return hand_out(path, lpBuffer, nBufferLength);
}

DWORD GetCurrentDirectory(DWORD nBufferLength, LPWSTR lpBuffer) {
    char directory[PATH_MAX];
    std::wstring path;
    if (getcwd(directory, sizeof directory) == nullptr || !to_windows_path(directory, false, path))
        return fail(static_cast<DWORD>(errno), DWORD{0});
    return hand_out(path, lpBuffer, nBufferLength);
}

BOOL SetCurrentDirectory(LPCWSTR lpPathName) {
    if (lpPathName == nullptr)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    std::string path;
    if (!to_path(lpPathName, path) || chdir(path.c_str()) != 0)
        return fail(static_cast<DWORD>(errno), FALSE);
    return TRUE;
}
