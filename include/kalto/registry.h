#ifndef KALTO_REGISTRY_H
#define KALTO_REGISTRY_H

#include <kalto/types.h>

#endif
