// The interface's own attribute values.
#ifndef KALTO_FS_ATTRIBUTES_H
#define KALTO_FS_ATTRIBUTES_H

#include <kalto/fs.h>
#include <sys/types.h>

namespace kalto {

// Of a file's st_mode: a directory or any other file, and whether nobody may write it.
DWORD attributes_of_mode(mode_t mode);

} // namespace kalto

#endif
