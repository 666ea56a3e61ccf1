// The store's state, its file names, and reading and writing files whole.
#include "registry/store.h"

#include <cerrno>
#include <fcntl.h>
#include <kalto/registry.h>
#include <new>
#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

const char* g_sandboxDir = "";
struct stat g_stRegFileStats;

const char* Kalto_GetSandboxDir(const char* /*ignored*/) {
    return g_sandboxDir;
}

// Deliberate: with the empty sandbox the path begins with two slashes. The file system takes them as one;
// logs and tools that quote the path show both.
std::string& SetSandboxPathToFile(const char* name, std::string& out) {
    return out.assign(g_sandboxDir != nullptr ? g_sandboxDir : "").append("/").append(name);
}

namespace kalto {
namespace {

size_t g_compactSize = 0; // of the string pool, when it was compact last

size_t string_pool_size() {
    size_t size = 0;
    for (const CVurlMemPool* block = g_pVurlDOM->m_pStringPool; block != nullptr; block = block->pNext)
        size += block->nUsed;
    return size;
}

// What the store uses of a file's status. A registry too large for the fields is a failure.
bool narrow_status(const struct stat64& large, struct stat& status) {
    status = {};
    status.st_dev = large.st_dev;
    status.st_ino = static_cast<ino_t>(large.st_ino);
    status.st_mode = large.st_mode;
    status.st_nlink = large.st_nlink;
    status.st_uid = large.st_uid;
    status.st_gid = large.st_gid;
    status.st_size = static_cast<off_t>(large.st_size);
    status.st_atim = large.st_atim;
    status.st_mtim = large.st_mtim;
    status.st_ctim = large.st_ctim;
    if (status.st_size == large.st_size)
        return true;
    errno = EOVERFLOW;
    return false;
}

// Dates a file anew whose time the platform cannot express (a clock was wrong once): no process of such a
// platform can have seen it with that time.
bool bring_to_present(const char* path) {
    syslog(LOG_ERR, "time of file %s is out of range, set to the present", path);
    return utimensat(AT_FDCWD, path, nullptr, 0) == 0;
}

} // namespace

CRegVurlDOM* g_pVurlDOM = nullptr;
bool g_regLoaded = false;
int g_regFd = -1;
bool g_regDirty = false;
bool g_regDeletions = false;
int g_regSetCount = 0;
unsigned g_regDocument = 0;
unsigned g_regChanges = 0;

void note_compact() {
    g_compactSize = string_pool_size();
}

// Each hundredth write the pool is compacted, if it has grown by half meanwhile: compacting walks the whole
// document, which must not be the price of every hundred writes into a large one.
void note_value_write() {
    g_regDirty = true;
    if (++g_regSetCount <= kCompactAfter)
        return;
    g_regSetCount = 0;
    if (string_pool_size() < g_compactSize + g_compactSize / 2)
        return;
    g_pVurlDOM->Clean();
    note_compact();
}

void note_change() {
    g_regDirty = true;
    ++g_regChanges;
}

void note_deletion() {
    note_change();
    g_regDeletions = true;
}

bool is_later(const struct stat& status, const struct stat& than) {
    if (status.st_mtim.tv_sec != than.st_mtim.tv_sec)
        return status.st_mtim.tv_sec > than.st_mtim.tv_sec;
    return status.st_mtim.tv_nsec > than.st_mtim.tv_nsec;
}

bool store_path(const char* name, std::string& out) {
    try {
        SetSandboxPathToFile(name, out);
        return true;
    } catch (const std::bad_alloc&) {
        syslog(LOG_ERR, "no memory for the path of %s", name);
        return false;
    }
}

bool file_status(const char* path, struct stat& status) {
    struct stat64 large;
    if (stat(path, &status) == 0)
        return true;
    if (errno != EOVERFLOW)
        return false;
    if (stat64(path, &large) != 0 &&
        (errno != EOVERFLOW || !bring_to_present(path) || stat64(path, &large) != 0))
        return false;
    return narrow_status(large, status);
}

bool file_status(int fd, struct stat& status) {
    struct stat64 large;
    return fstat(fd, &status) == 0 ||
           (errno == EOVERFLOW && fstat64(fd, &large) == 0 && narrow_status(large, status));
}

int open_file(const char* path, int flags) {
    int fd = -1;
    do
        fd = open(path, flags | O_CLOEXEC, kFileMode);
    while (fd == -1 && errno == EINTR);
    return fd;
}

long read_file(int fd, char* buffer, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, buffer + done, size - done);
        if (got == 0)
            break;
        if (got > 0)
            done += static_cast<size_t>(got);
        else if (errno != EINTR)
            return -1;
    }
    return static_cast<long>(done);
}

bool write_file(int fd, const char* text, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t put = write(fd, text + done, size - done);
        if (put > 0)
            done += static_cast<size_t>(put);
        else if (put == 0 || errno != EINTR)
            return false;
    }
    return true;
}

// Where the system cannot do it, the sync does it all. But the sync may not repeat what failed already. The
// call is a cancellation point that not every C library can unwind, and the lock must be given back.
bool start_writing_back(int fd) {
    int cancellation = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation);
    const bool started = sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE) == 0 ||
                         (errno != EIO && errno != ENOSPC && errno != EDQUOT);
    pthread_setcancelstate(cancellation, nullptr);
    return started;
}

bool sync_file(int fd) {
    int result = 0;
    do
        result = fsync(fd);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

int Descriptor::release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

int Descriptor::close() {
    const int fd = release();
    // An interrupted close has closed.
    return fd == -1 || ::close(fd) == 0 || errno == EINTR ? 0 : -1;
}

} // namespace kalto
