// What the system knows of a file, by the one call that has 64-bit times on every target.
#include "fs/status.h"

#include <fcntl.h>
#include <limits>
#include <sys/stat.h>

namespace kalto {

static bool read(int directory, const char* path, int flags, Status* status) {
    struct statx answer = {};
    if (statx(directory, path, flags, STATX_BASIC_STATS, &answer) != 0)
        return false;
    *status = {answer.stx_mode,         answer.stx_nlink,        answer.stx_ino,         answer.stx_size,
               answer.stx_atime.tv_sec, answer.stx_mtime.tv_sec, answer.stx_ctime.tv_sec};
    return true;
}

bool read_status(const char* path, Status* status) {
    return read(AT_FDCWD, path, 0, status);
}

bool read_status(int descriptor, Status* status) {
    return read(descriptor, "", AT_EMPTY_PATH, status);
}

bool read_status(int directory, const char* name, Links links, Status* status) {
    return read(directory, name, links == Links::kFollow ? 0 : AT_SYMLINK_NOFOLLOW, status);
}

void store_seconds(LPFILETIME time, std::int64_t seconds) {
    const auto ticks = (static_cast<std::uint64_t>(seconds) + 11644473600) * 10000000;
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

bool to_time_t(std::int64_t seconds, time_t* narrow) {
    *narrow = static_cast<time_t>(seconds);
    return seconds >= std::numeric_limits<time_t>::min() && seconds <= std::numeric_limits<time_t>::max();
}

} // namespace kalto
