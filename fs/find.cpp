// Directory searches. A search handle belongs to its caller: no lock is taken.
#include "fs/status.h"
#include "kernel/handle_record.h"
#include "text/convert.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <kalto/fs.h>
#include <string>

using namespace kalto;

static_assert(offsetof(WIN32_FIND_DATA, cFileName) == 36, "layout of the interface");
static_assert(ARRAYSIZE(WIN32_FIND_DATA::cFileName) > 257, "a name and its terminator");

static void fill(LPWIN32_FIND_DATA data, const Status& status, const std::wstring& name) {
    // Deliberate: the raw mode in place of attribute values; applications test its bits.
    data->dwFileAttributes = static_cast<DWORD>(status.mode);
    store_seconds(&data->ftCreationTime, status.changed);
    store_seconds(&data->ftLastAccessTime, status.accessed);
    store_seconds(&data->ftLastWriteTime, status.modified);
    data->nFileSizeHigh = 0;
    data->nFileSizeLow = static_cast<DWORD>(status.size);
    constexpr std::size_t kLongestName = 257;
    data->cFileName[name.copy(data->cFileName, kLongestName)] = L'\0';
}

enum class Look { kSeen, kGone, kFailed };

static Look look_at(int directory, const char* name, Status* status) {
    if (read_status(directory, name, Links::kFollow, status))
        return Look::kSeen;
    const bool exists = read_status(directory, name, Links::kKeep, status);
    return !exists && errno == ENOENT ? Look::kGone : Look::kFailed;
}

BOOL FindNextFile(HANDLE hFindFile, LPWIN32_FIND_DATA lpFindFileData) {
    const FindRecord* search = find_record_of(hFindFile);
    if (search == nullptr || search->stream == nullptr || search->second == nullptr ||
        lpFindFileData == nullptr)
        return FALSE;
    while (const dirent64* entry = readdir64(search->stream)) {
        if (fnmatch(search->second, entry->d_name, 0) != 0)
            continue;
        Status status = {};
        std::wstring name;
        switch (look_at(dirfd(search->stream), entry->d_name, &status)) {
        case Look::kGone: // removed since the search began: no reason to hide the files behind it
            continue;
        case Look::kFailed:
            return FALSE;
        case Look::kSeen:
            if (!to_wide(entry->d_name, name))
                return FALSE;
            fill(lpFindFileData, status, name);
            return TRUE;
        }
    }
    return FALSE;
}

// Opens what a path names: the directory and the pattern, which is cut off the path in place.
static DIR* open_search(std::string& path, const char** directory, const char** pattern) {
    *directory = path.c_str();
    *pattern = "*";
    if (DIR* whole = opendir(path.c_str())) {
        path.erase(path.find_last_not_of('/') + 1);
        *directory = path.c_str();
        return whole;
    }
    const std::size_t slash = path.rfind('/');
    *pattern = path.c_str() + (slash == std::string::npos ? 0 : slash + 1);
    if (**pattern == '\0')
        return nullptr;
    if (slash == std::string::npos)
        *directory = ".";
    else
        path[slash] = '\0';
    return opendir(slash == 0 ? "/" : *directory);
}

static HANDLE make_search(DIR* stream, const char* directory, const char* pattern) {
    HandleRecord* record = nullptr;
    create_record(HT_FIND, nullptr, nullptr, nullptr, &record);
    FindRecord* search = find_record_of(record);
    if (search == nullptr) {
        closedir(stream);
        return nullptr;
    }
    search->stream = stream;
    search->path = strdup(directory);
    search->second = strdup(pattern);
    if (search->path == nullptr || search->second == nullptr) {
        CloseHandle(record);
        return nullptr;
    }
    return record;
}

HANDLE FindFirstFile(LPCWSTR lpFileName, LPWIN32_FIND_DATA lpFindFileData) {
    std::string path;
    if (lpFileName == nullptr || lpFindFileData == nullptr || !to_path(lpFileName, path))
        return INVALID_HANDLE_VALUE;
    const char* directory = nullptr;
    const char* pattern = nullptr;
    DIR* stream = open_search(path, &directory, &pattern);
    if (stream == nullptr)
        return INVALID_HANDLE_VALUE;
    HANDLE search = make_search(stream, directory, pattern);
    if (search == nullptr)
        return INVALID_HANDLE_VALUE;
    if (!FindNextFile(search, lpFindFileData)) {
        CloseHandle(search);
        return INVALID_HANDLE_VALUE;
    }
    return search;
}

BOOL FindClose(HANDLE hFindFile) {
    return CloseHandle(hFindFile);
}

HANDLE FindFirstChangeNotification(LPCWSTR lpPathName, BOOL /*bWatchSubtree*/, DWORD /*dwNotifyFilter*/) {
    std::string path;
    if (lpPathName == nullptr || !to_path(lpPathName, path))
        return nullptr;
    DIR* stream = opendir(path.c_str());
    return stream == nullptr ? nullptr : make_search(stream, path.c_str(), "*");
}

BOOL FindNextChangeNotification(HANDLE hChangeHandle) {
    FindRecord* notification = find_record_of(hChangeHandle);
    if (notification == nullptr)
        return FALSE;
    std::memcpy(notification->current_stamp, notification->saved_stamp, sizeof notification->current_stamp);
    return TRUE;
}

BOOL FindCloseChangeNotification(HANDLE hChangeHandle) {
    return CloseHandle(hChangeHandle);
}
