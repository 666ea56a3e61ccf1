// The registry of a fresh device.
#ifndef KALTO_REGISTRY_SKELETON_H
#define KALTO_REGISTRY_SKELETON_H

#include <cstddef>

namespace kalto {

extern const char kSkeleton[];
extern const size_t kSkeletonSize; // without the end

} // namespace kalto

#endif
