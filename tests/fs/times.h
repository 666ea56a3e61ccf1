// The times of files, in seconds and in the interface's units of 100 ns.
#ifndef TESTS_FS_TIMES_H
#define TESTS_FS_TIMES_H

#include <fcntl.h>
#include <kalto/fs.h>
#include <string>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

inline ULONGLONG ticks(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

inline FILETIME file_time(ULONGLONG value) {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

inline ULONGLONG ticks(std::int64_t seconds) {
    return static_cast<ULONGLONG>(seconds + 11644473600) * 10000000;
}

// Beyond the platform's time_t, too. False when the system has no such times.
inline bool set_times(const std::string& path, std::int64_t access, std::int64_t modification) {
#ifdef SYS_utimensat_time64
    const std::int64_t wide[4] = {access, 0, modification, 0};
    if (syscall(SYS_utimensat_time64, AT_FDCWD, path.c_str(), wide, 0) == 0)
        return true;
#endif
    const timeval times[2] = {{static_cast<time_t>(access), 0}, {static_cast<time_t>(modification), 0}};
    return times[1].tv_sec == modification && utimes(path.c_str(), times) == 0;
}

#endif
