// Making directories, and removing directories and files. What is read-only stays, as its attribute promises
// on Windows, also when a privileged process asks.
#include "host/narrow_text.h"
#include "host/refusal.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace kalto {

constexpr mode_t kAnyWriteBit = 0222;

static int remove_entry(const char* path, mode_t kind, int (*remove)(const char*)) {
    struct stat64 status = {};
    if (lstat64(path, &status) != 0)
        return errno;
    if ((status.st_mode & S_IFMT) == kind && (status.st_mode & kAnyWriteBit) == 0)
        return EACCES;
    return remove(path) == 0 ? 0 : errno;
}

} // namespace kalto

BOOL PTR_CreateDirectory(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES) {
    kalto::NarrowPath path(lpPathName);
    bool made = path.get() != nullptr && mkdir(path.get(), 0777) == 0;
    return made ? TRUE : kalto::refuse(errno);
}

BOOL PTR_RemoveDirectory(LPCWSTR lpPathName) {
    kalto::NarrowPath path(lpPathName);
    int error = path.get() != nullptr ? kalto::remove_entry(path.get(), S_IFDIR, rmdir) : errno;
    return kalto::succeed_unless(error);
}

BOOL PTR_DeleteFile(LPCWSTR lpFileName) {
    kalto::NarrowPath path(lpFileName);
    int error = path.get() != nullptr ? kalto::remove_entry(path.get(), S_IFREG, unlink) : errno;
    return kalto::succeed_unless(error);
}
