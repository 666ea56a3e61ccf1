// The new registry file on its way into place.
#ifndef KALTO_REGISTRY_PENDING_FILE_H
#define KALTO_REGISTRY_PENDING_FILE_H

#include <sys/stat.h>

namespace kalto {

// Makes the modification time of the file at path, whose status is given, later than that of another file, by
// as little as the file system can express. So every process that knows the other file sees a new one,
// however coarse or wrong the clock is.
void make_later(const char* path, struct stat status, const struct stat& than);

} // namespace kalto

#endif
