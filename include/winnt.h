/* Basic types, access rights and attributes. */
#ifndef KALTO_WINNT_H
#define KALTO_WINNT_H

#include <kalto/fs.h>
#include <kalto/registry.h>
#include <kalto/types.h>

#endif
