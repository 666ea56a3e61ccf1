// Opening, reading and writing of files.
//
// An existing file is opened first and emptied afterwards, when it is known to be a file that may be written:
// a read-only file keeps its contents even from a privileged process, as its attribute promises on Windows.
#include "host/descriptor.h"
#include "host/narrow_text.h"
#include "host/refusal.h"
#include "host/transfer.h"
#include <kalto/kernel.h>

#include <cerrno>
#include <cstddef>
#include <sys/stat.h>

namespace kalto {

constexpr DWORD kReading = GENERIC_READ | GENERIC_EXECUTE | GENERIC_ALL | FILE_READ_DATA;
constexpr DWORD kWritingAnywhere = GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA;
constexpr DWORD kWriting = kWritingAnywhere | FILE_APPEND_DATA;
constexpr mode_t kAnyWriteBit = 0222;

namespace {
struct Request {
    const char* path;
    DWORD access;
    DWORD disposition;
    DWORD flags;

    bool writes() const { return (access & kWriting) != 0; }
    bool empties() const { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }
    bool creates_if_missing() const { return disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS; }
};
} // namespace

static int open_flags(const Request& request) {
    int flags = O_NOCTTY;
    if (!request.writes())
        flags |= O_RDONLY;
    else
        flags |= (request.access & kReading) != 0 ? O_RDWR : O_WRONLY;
    if (request.writes() && (request.access & kWritingAnywhere) == 0)
        flags |= O_APPEND;
    if ((request.flags & FILE_FLAG_WRITE_THROUGH) != 0)
        flags |= O_SYNC;
    return flags;
}

// Tells through existed whether the file was there already. Where the name is neither openable nor free to be
// made (a link to a missing file, or a file that somebody makes just now), the last attempt takes it either
// way.
static int open_or_create(const char* path, int flags, mode_t mode, bool* existed) {
    int descriptor = open_file(path, flags);
    *existed = descriptor >= 0;
    if (descriptor >= 0 || errno != ENOENT)
        return descriptor;
    descriptor = open_file(path, flags | O_CREAT | O_EXCL, mode);
    if (descriptor >= 0 || errno != EEXIST)
        return descriptor;
    *existed = true;
    return open_file(path, flags | O_CREAT, mode);
}

static int open_by_disposition(const Request& request, bool* existed) {
    int flags = open_flags(request);
    mode_t mode = (request.flags & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
    if (request.creates_if_missing())
        return open_or_create(request.path, flags, mode, existed);
    *existed = request.disposition != CREATE_NEW;
    return open_file(request.path, *existed ? flags : flags | O_CREAT | O_EXCL, mode);
}

static bool is_valid(const Request& request) {
    return request.disposition >= CREATE_NEW && request.disposition <= TRUNCATE_EXISTING &&
           (request.disposition != TRUNCATE_EXISTING || request.writes());
}

// Refuses what Windows would not open, then empties the file if that was asked. 0 or an errno value.
static int prepare_existing(const Request& request, int descriptor) {
    struct stat64 status = {};
    if (fstat64(descriptor, &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return (request.flags & FILE_FLAG_BACKUP_SEMANTICS) != 0 ? 0 : EISDIR;
    if (!S_ISREG(status.st_mode))
        return 0;
    if ((request.writes() || request.empties()) && (status.st_mode & kAnyWriteBit) == 0)
        return EACCES;
    if (!request.empties())
        return 0;
    int result = request.writes() ? ftruncate64(descriptor, 0) : truncate64(request.path, 0);
    return result == 0 ? 0 : errno;
}

static_assert(sizeof(void*) != 4 ||
              (sizeof(KaltoFileRecord) == 20 && offsetof(KaltoFileRecord, descriptor) == 8 &&
               offsetof(KaltoFileRecord, path) == 16));

static HANDLE make_handle(int descriptor, char* path) {
    HANDLE handle = nullptr;
    create_handle(HT_FILE, nullptr, &handle);
    if (handle != nullptr) {
        auto* record = static_cast<KaltoFileRecord*>(handle);
        record->descriptor = descriptor;
        record->path = path;
    }
    return handle;
}

static HANDLE invalid(int error) {
    refuse(error);
    return INVALID_HANDLE_VALUE;
}

// The descriptor behind a file handle, or -1.
static int descriptor_of(HANDLE handle) {
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
        return -1;
    auto* record = static_cast<const KaltoFileRecord*>(handle);
    return record->type == HT_FILE ? record->descriptor : -1;
}

// Checks what the two transfers have in common. 0 or an errno value.
static int check_transfer(const void* buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped,
                          int descriptor) {
    if (done == nullptr || (buffer == nullptr && size > 0))
        return EINVAL;
    *done = 0;
    if (overlapped != nullptr)
        return EOPNOTSUPP;
    return descriptor < 0 ? EBADF : 0;
}

} // namespace kalto

using namespace kalto;

HANDLE PTR_CreateFile(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD, LPSECURITY_ATTRIBUTES,
                      DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes, HANDLE) {
    NarrowPath path(lpFileName);
    if (path.get() == nullptr)
        return invalid(errno);
    Request request = {path.get(), dwDesiredAccess, dwCreationDisposition, dwFlagsAndAttributes};
    if (!is_valid(request))
        return invalid(EINVAL);
    bool existed = false;
    Descriptor file(open_by_disposition(request, &existed));
    if (file.get() < 0)
        return invalid(errno);
    int error = existed ? prepare_existing(request, file.get()) : 0;
    if (error != 0)
        return invalid(error);
    HANDLE handle = make_handle(file.get(), const_cast<char*>(path.get()));
    if (handle == nullptr)
        return invalid(ENOMEM);
    file.release();
    path.release();
    if (request.creates_if_missing())
        PTR_SetLastError(existed ? ERROR_ALREADY_EXISTS : 0);
    return handle;
}

BOOL PTR_ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
                  LPOVERLAPPED lpOverlapped) {
    int descriptor = descriptor_of(hFile);
    int error = check_transfer(lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped, descriptor);
    if (error != 0)
        return refuse(error);
    size_t done = 0;
    error = read_some(descriptor, lpBuffer, nNumberOfBytesToRead, &done);
    *lpNumberOfBytesRead = static_cast<DWORD>(done);
    return succeed_unless(error);
}

BOOL PTR_WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                   LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped) {
    int descriptor = descriptor_of(hFile);
    int error =
        check_transfer(lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped, descriptor);
    if (error != 0)
        return refuse(error);
    size_t done = 0;
    error = write_all(descriptor, lpBuffer, nNumberOfBytesToWrite, &done);
    *lpNumberOfBytesWritten = static_cast<DWORD>(done);
    return succeed_unless(error);
}
