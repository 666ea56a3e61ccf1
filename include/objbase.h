/* GUIDs. */
#ifndef KALTO_OBJBASE_H
#define KALTO_OBJBASE_H

#include <kalto/errors.h>
#include <kalto/system.h>
#include <kalto/types.h>

#endif
