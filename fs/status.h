// What the system knows of a file, with sizes and times that are 64 bits wide on every target: the plain
// calls fail for a file whose time is beyond a 32-bit time_t, and such a file (a clock was wrong once) must
// stay visible.
#ifndef KALTO_FS_STATUS_H
#define KALTO_FS_STATUS_H

#include <cstdint>
#include <kalto/types.h>
#include <sys/types.h>

namespace kalto {

struct Status {
    mode_t mode;
    std::uint64_t links, inode, size;
    std::int64_t accessed, modified, changed; // seconds since 1970
};

// Each is false, with errno set, when the system does not answer.
bool read_status(const char* path, Status* status);
bool read_status(int descriptor, Status* status);

// Of a name in an open directory; without links the name itself, when it is one.
enum class Links { kFollow, kKeep };
bool read_status(int directory, const char* name, Links links, Status* status);

// TimeTToFileTime for seconds of any width.
void store_seconds(LPFILETIME time, std::int64_t seconds);

// Narrows seconds; false when the platform's time_t cannot hold them.
bool to_time_t(std::int64_t seconds, time_t* narrow);

} // namespace kalto

#endif
