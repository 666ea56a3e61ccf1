// The new registry file on its way into place.
#ifndef KALTO_REGISTRY_PENDING_FILE_H
#define KALTO_REGISTRY_PENDING_FILE_H

#include "registry/store.h"

namespace kalto {

// Verifies the pending file, syncs it through `written`, a descriptor of it, and renames it over the
// registry. What fails is logged; a file that does not parse or cannot be synced is removed.
bool settle_pending_file(const std::string& pending, Descriptor& written);

// Makes the modification time of the file at path, whose status is given, later than that of another file, by
// as little as the file system can express. So every process that knows the other file sees a new one,
// however coarse or wrong the clock is.
void make_later(const char* path, struct stat status, const struct stat& than);

} // namespace kalto

#endif
