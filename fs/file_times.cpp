// Times of open files.
#include "fs/status.h"
#include "kernel/handle_record.h"

#include <kalto/fs.h>
#include <kalto/system.h>
#include <unistd.h>
#include <utime.h>

using namespace kalto;

static void store(LPFILETIME time, std::int64_t seconds) {
    if (time != nullptr)
        store_seconds(time, seconds);
}

BOOL GetFileTime(HANDLE hFile, LPFILETIME lpCreationTime, LPFILETIME lpLastAccessTime,
                 LPFILETIME lpLastWriteTime) {
    const FileRecord* file = file_record_of(hFile);
    Status status = {};
    if (file == nullptr || !read_status(file->descriptor, &status))
        return FALSE;
    store(lpCreationTime, status.changed);
    store(lpLastAccessTime, status.accessed);
    store(lpLastWriteTime, status.modified);
    return TRUE;
}

// The seconds of a given time, or else the present ones. False when they do not fit, those of a given time
// into the 32 bits of FileTimeToTimeT: the file keeps its time rather than getting another one.
static bool choose(time_t* seconds, const FILETIME* time, std::int64_t present) {
    if (time == nullptr)
        return to_time_t(present, seconds);
    *seconds = FileTimeToTimeT(time->dwLowDateTime, time->dwHighDateTime);
    FILETIME back = {};
    TimeTToFileTime(&back, *seconds);
    const ULONGLONG wanted = (ULONGLONG{time->dwHighDateTime} << 32) | time->dwLowDateTime;
    const ULONGLONG reached = (ULONGLONG{back.dwHighDateTime} << 32) | back.dwLowDateTime;
    return wanted - reached < 10000000;
}

BOOL SetFileTime(HANDLE hFile, const FILETIME* /*lpCreationTime*/, const FILETIME* lpLastAccessTime,
                 const FILETIME* lpLastWriteTime) {
    const FileRecord* file = file_record_of(hFile);
    Status status = {};
    if (file == nullptr || file->auxiliary == nullptr || !read_status(file->descriptor, &status))
        return FALSE;
    const auto* path = static_cast<const char*>(file->auxiliary);
    // Deliberate: a file that may be written keeps its times. Applications count on the times of files that
    // they write themselves, and set those of protected files alone.
    if (access(path, W_OK) == 0)
        return FALSE;
    utimbuf times = {};
    return choose(&times.actime, lpLastAccessTime, status.accessed) &&
           choose(&times.modtime, lpLastWriteTime, status.modified) && utime(path, &times) == 0;
}

LONG CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2) {
    if (lpFileTime1 == nullptr || lpFileTime2 == nullptr)
        return 0;
    if (lpFileTime1->dwHighDateTime != lpFileTime2->dwHighDateTime)
        return lpFileTime1->dwHighDateTime < lpFileTime2->dwHighDateTime ? -1 : 1;
    if (lpFileTime1->dwLowDateTime != lpFileTime2->dwLowDateTime)
        return lpFileTime1->dwLowDateTime < lpFileTime2->dwLowDateTime ? -1 : 1;
    return 0;
}
