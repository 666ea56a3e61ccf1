#ifndef KALTO_HOST_COPY_FILE_H
#define KALTO_HOST_COPY_FILE_H

namespace kalto {

enum class Target { kMayBeReplaced, kMustBeNew };
enum class Purpose { kCopy, kMove };

// Copies a file with its permissions and times. 0 or an errno value; after a failure the target is as it was.
// A copy that replaces a file belongs to that file's owner; one made to move a file belongs to the source's
// owner, and is on the disk, under its name, when the call returns.
int copy_file(const char* from, const char* to, Target target, Purpose purpose);

// Takes a name that nobody has, with an empty file; what is then renamed to it replaces no other's. 0 or an
// errno value.
int claim_file_name(const char* path);

} // namespace kalto

#endif
