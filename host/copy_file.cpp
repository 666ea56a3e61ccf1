// Copying: into a temporary file beside the target, which takes the target's name when it is complete. A
// target is therefore either as it was or whole, also when the process is killed.
#include "host/copy_file.h"
#include "host/descriptor.h"
#include "host/narrow_text.h"
#include "host/refusal.h"
#include "host/transfer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace kalto {

constexpr size_t kBufferSize = 16 * 1024;
constexpr mode_t kPermissions = 0777;
constexpr mode_t kAnyWriteBit = 0222;
static const char kTemporaryName[] = ".kalto-copy-XXXXXX";

namespace {
struct FreeText {
    void operator()(char* text) const { free(text); }
};
using MallocText = std::unique_ptr<char, FreeText>;

// What is copied, and what the copy must be like.
struct Copy {
    int source;
    struct stat64 status;       // the source's
    const struct stat64* owner; // the file whose owner the copy gets; null: the process's
    Target target;
    bool flushed; // to the disk, before anything old goes
};

// Removes a file unless it was kept.
class Unlinker {
  public:
    explicit Unlinker(const char* path) : path_(path) {}
    Unlinker(const Unlinker&) = delete;
    Unlinker& operator=(const Unlinker&) = delete;
    ~Unlinker() {
        if (path_ != nullptr)
            unlink(path_);
    }
    void keep() { path_ = nullptr; }

  private:
    const char* path_;
};
} // namespace

static size_t directory_length(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? static_cast<size_t>(slash - path) + 1 : 0;
}

static MallocText temporary_beside(const char* path) {
    size_t length = directory_length(path);
    MallocText name(static_cast<char*>(malloc(length + sizeof kTemporaryName)));
    if (name != nullptr) {
        memcpy(name.get(), path, length);
        memcpy(name.get() + length, kTemporaryName, sizeof kTemporaryName);
    }
    return name;
}

static int copy_content(int from, int to) {
    char buffer[kBufferSize];
    for (;;) {
        size_t got = 0;
        int error = read_some(from, buffer, sizeof buffer, &got);
        if (error != 0 || got == 0)
            return error;
        size_t put = 0;
        error = write_all(to, buffer, got, &put);
        if (error != 0)
            return error;
    }
}

// A file system without owners, permissions or times (a memory card's) refuses them, and an ordinary process
// may not give files away; the contents still count.
static void copy_properties(const Copy& copy, int to) {
    const timespec times[2] = {copy.status.st_atim, copy.status.st_mtim};
    int refused = copy.owner != nullptr ? fchown(to, copy.owner->st_uid, copy.owner->st_gid) : 0;
    refused |= fchmod(to, copy.status.st_mode & kPermissions);
    refused |= futimens(to, times);
    static_cast<void>(refused);
}

static void flush_directory_of(const char* path) {
    size_t length = directory_length(path);
    MallocText name(length > 0 ? strndup(path, length) : strdup("."));
    if (name == nullptr)
        return;
    Descriptor directory(open_file(name.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0)
        fsync(directory.get());
}

int claim_file_name(const char* path) {
    Descriptor claim(open_file(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return claim.get() >= 0 ? 0 : errno;
}

static int take_name(const char* temporary, const char* to, Target target) {
    if (target == Target::kMayBeReplaced)
        return rename(temporary, to) == 0 ? 0 : errno;
    int error = claim_file_name(to);
    if (error != 0)
        return error;
    Unlinker claim(to);
    if (rename(temporary, to) != 0)
        return errno;
    claim.keep();
    return 0;
}

static int copy_by_temporary(const Copy& copy, const char* to) {
    MallocText name = temporary_beside(to);
    if (name == nullptr)
        return ENOMEM;
    Descriptor temporary(mkostemp64(name.get(), O_CLOEXEC));
    if (temporary.get() < 0)
        return errno;
    Unlinker unfinished(name.get());
    int error = copy_content(copy.source, temporary.get());
    if (error != 0)
        return error;
    copy_properties(copy, temporary.get());
    if (copy.flushed && fsync(temporary.get()) != 0)
        return errno;
    error = temporary.close();
    if (error == 0)
        error = take_name(name.get(), to, copy.target);
    if (error != 0)
        return error;
    unfinished.keep();
    if (copy.flushed)
        flush_directory_of(to);
    return 0;
}

// Whether the source may replace what has the target's name. 0 or an errno value.
static int check_replaced(const struct stat64& source, const struct stat64& old) {
    if (source.st_dev == old.st_dev && source.st_ino == old.st_ino)
        return ERROR_SHARING_VIOLATION;
    if (S_ISDIR(old.st_mode))
        return EISDIR;
    return S_ISREG(old.st_mode) && (old.st_mode & kAnyWriteBit) == 0 ? EACCES : 0;
}

// Over an existing name: through a link to the file itself; into a device as it stands. The old contents go
// only when the new ones are on the disk.
static int copy_over(Copy& copy, const char* to, const struct stat64& old) {
    int error = check_replaced(copy.status, old);
    if (error != 0)
        return error;
    if (!S_ISREG(old.st_mode)) {
        Descriptor device(open_file(to, O_WRONLY | O_NOCTTY | O_CLOEXEC));
        return device.get() >= 0 ? copy_content(copy.source, device.get()) : errno;
    }
    MallocText file(realpath(to, nullptr));
    if (file == nullptr)
        return errno;
    copy.owner = &old;
    copy.flushed = true;
    return copy_by_temporary(copy, file.get());
}

int copy_file(const char* from, const char* to, Target target, Purpose purpose) {
    Descriptor source(open_file(from, O_RDONLY | O_NOCTTY | O_CLOEXEC));
    bool moves = purpose == Purpose::kMove;
    Copy copy = {source.get(), {}, nullptr, target, moves};
    if (source.get() < 0 || fstat64(source.get(), &copy.status) != 0)
        return errno;
    if (S_ISDIR(copy.status.st_mode))
        return EISDIR;
    copy.owner = moves ? &copy.status : nullptr;
    struct stat64 old = {};
    if (stat64(to, &old) != 0)
        return errno == ENOENT ? copy_by_temporary(copy, to) : errno;
    return target == Target::kMustBeNew ? EEXIST : copy_over(copy, to, old);
}

} // namespace kalto

BOOL PTR_CopyFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, BOOL bFailIfExists) {
    kalto::NarrowPath from(lpExistingFileName);
    if (from.get() == nullptr)
        return kalto::refuse(errno);
    kalto::NarrowPath to(lpNewFileName);
    if (to.get() == nullptr)
        return kalto::refuse(errno);
    auto target = bFailIfExists ? kalto::Target::kMustBeNew : kalto::Target::kMayBeReplaced;
    return kalto::succeed_unless(kalto::copy_file(from.get(), to.get(), target, kalto::Purpose::kCopy));
}
