#ifndef KALTO_KERNEL_H
#define KALTO_KERNEL_H

#include <kalto/types.h>

#endif
