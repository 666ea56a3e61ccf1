/* Basic types and macros. */
#ifndef KALTO_WINDEF_H
#define KALTO_WINDEF_H

#include <kalto/types.h>

#endif
