// Attributes of files by path.
#include "fs/attributes.h"

#include "fs/status.h"
#include "text/convert.h"

#include <cerrno>
#include <cwchar>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace kalto {

constexpr mode_t kDirectoryBit = 0x4000;
constexpr mode_t kFileBit = 0x8000;
constexpr mode_t kAnyWrite = 0222;

DWORD attributes_of_mode(mode_t mode) {
    const DWORD kind = (mode & kDirectoryBit) != 0 ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    return kind | ((mode & kAnyWrite) == 0 ? FILE_ATTRIBUTE_READONLY : 0);
}

} // namespace kalto

using namespace kalto;

static bool is_separator(wchar_t character) {
    return character == L'/' || character == L'\\';
}

BOOL DIR_is_hidden_file(LPCWSTR lpPath) {
    if (lpPath == nullptr)
        return FALSE;
    const wchar_t* end = lpPath + std::wcslen(lpPath);
    while (end != lpPath && is_separator(end[-1]))
        --end;
    const wchar_t* name = end;
    while (name != lpPath && !is_separator(name[-1]))
        --name;
    const auto length = end - name;
    const bool is_self = length == 1;
    const bool is_parent = length == 2 && name[1] == L'.';
    return length != 0 && name[0] == L'.' && !is_self && !is_parent;
}

// False with the last error.
static bool look_at(LPCWSTR name, std::string& path, Status& status) {
    if (name != nullptr && to_path(name, path) && read_status(path.c_str(), &status))
        return true;
    SetLastError(name != nullptr ? static_cast<DWORD>(errno) : DWORD{ERROR_INVALID_PARAMETER});
    return false;
}

DWORD GetFileAttributes(LPCWSTR lpFileName) {
    std::string path;
    Status status = {};
    if (!look_at(lpFileName, path, status))
        return INVALID_FILE_ATTRIBUTES;
    if ((status.mode & (kDirectoryBit | kFileBit)) == 0) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return INVALID_FILE_ATTRIBUTES;
    }
    return attributes_of_mode(status.mode) | (DIR_is_hidden_file(lpFileName) ? FILE_ATTRIBUTE_HIDDEN : 0);
}

BOOL SetFileAttributes(LPCWSTR lpFileName, DWORD dwFileAttributes) {
    std::string path;
    Status status = {};
    if (!look_at(lpFileName, path, status))
        return FALSE;
    // The device's application user and group. Only a privileged process can give a file away; for the others
    // this fails, and does not matter.
    constexpr uid_t kApplicationUser = 500;
    const int given_away = chown(path.c_str(), kApplicationUser, kApplicationUser);
    static_cast<void>(given_away);
    // Deliberate: any attribute at all makes a file read-only, FILE_ATTRIBUTE_NORMAL included; applications
    // clear the mark with 0.
    const mode_t permissions = status.mode & 0777;
    const mode_t wanted = dwFileAttributes != 0 ? (permissions | 0500) & ~mode_t{0200} : permissions | 0700;
    if (chmod(path.c_str(), wanted) == 0)
        return TRUE;
    SetLastError(static_cast<DWORD>(errno));
    return FALSE;
}
