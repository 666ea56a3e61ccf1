// GetFileAttributesEx.
#include "fs/status.h"
#include "porting/failure.h"
#include "text/convert.h"

#include <cerrno>
#include <kalto/porting.h>

using namespace kalto;

BOOL GetFileAttributesEx(LPCWSTR lpFileName, GET_FILEEX_INFO_LEVELS fInfoLevelId, LPVOID lpFileInformation) {
    if (lpFileName == nullptr || lpFileInformation == nullptr || fInfoLevelId != GetFileExInfoStandard)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    std::string path;
    Status status = {};
    if (!to_path(lpFileName, path) || !read_status(path.c_str(), &status))
        return fail(static_cast<DWORD>(errno), FALSE);
    const DWORD attributes = GetFileAttributes(lpFileName);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return fail(ERROR_NOT_SUPPORTED, FALSE);
    auto& data = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(lpFileInformation);
    data.dwFileAttributes = attributes;
    store_seconds(&data.ftCreationTime, status.changed);
    store_seconds(&data.ftLastAccessTime, status.accessed);
    store_seconds(&data.ftLastWriteTime, status.modified);
    data.nFileSizeHigh = static_cast<DWORD>(status.size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(status.size);
    return TRUE;
}
