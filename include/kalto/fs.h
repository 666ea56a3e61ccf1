#ifndef KALTO_FS_H
#define KALTO_FS_H

#include <kalto/types.h>

#endif
