/* Device queries through KernelIoControl. */
#ifndef KALTO_PKFUNCS_H
#define KALTO_PKFUNCS_H

#include <kalto/system.h>
#include <kalto/types.h>

#endif
