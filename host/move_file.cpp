// Renaming, and moving to another file system. The new name is claimed first, with an empty file or directory
// that the rename replaces: so no file that somebody else makes meanwhile is ever replaced, on any file
// system.
#include "host/copy_file.h"
#include "host/narrow_text.h"
#include "host/refusal.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace kalto {

static int rename_to(const char* from, const char* to) {
    return rename(from, to) == 0 ? 0 : errno;
}

static int rename_to_new_name(const char* from, const char* to, bool directory) {
    int error = directory ? (mkdir(to, 0700) == 0 ? 0 : errno) : claim_file_name(to);
    if (error != 0)
        return error;
    error = rename_to(from, to);
    if (error != 0)
        directory ? rmdir(to) : unlink(to);
    return error;
}

// The old file goes only when the new one is on the disk; if it cannot go, the new one does, so that there is
// never less than one file, and two only when neither can be removed.
static int copy_and_delete(const char* from, const char* to) {
    int error = copy_file(from, to, Target::kMustBeNew, Purpose::kMove);
    if (error != 0 || unlink(from) == 0)
        return error;
    error = errno;
    unlink(to);
    return error;
}

// One file under both names: a change of upper and lower case on a file system that does not tell them apart,
// or no change at all. A second hard link is another name that is taken.
static bool is_same_entry(const struct stat64& a, const struct stat64& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && (S_ISDIR(a.st_mode) || a.st_nlink == 1);
}

static int move_file(const char* from, const char* to) {
    struct stat64 source = {};
    struct stat64 target = {};
    if (lstat64(from, &source) != 0)
        return errno;
    if (lstat64(to, &target) == 0)
        return is_same_entry(source, target) ? rename_to(from, to) : EEXIST;
    int error = rename_to_new_name(from, to, S_ISDIR(source.st_mode));
    if (error == EXDEV && (S_ISREG(source.st_mode) || S_ISLNK(source.st_mode)))
        return copy_and_delete(from, to);
    return error;
}

} // namespace kalto

BOOL PTR_MoveFile(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName) {
    kalto::NarrowPath from(lpExistingFileName);
    if (from.get() == nullptr)
        return kalto::refuse(errno);
    kalto::NarrowPath to(lpNewFileName);
    if (to.get() == nullptr)
        return kalto::refuse(errno);
    return kalto::succeed_unless(kalto::move_file(from.get(), to.get()));
}
