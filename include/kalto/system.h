#ifndef KALTO_SYSTEM_H
#define KALTO_SYSTEM_H

#include <kalto/types.h>

#endif
