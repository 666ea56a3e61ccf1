/* OLE automation dates. */
#ifndef KALTO_OLEAUTO_H
#define KALTO_OLEAUTO_H

#include <kalto/errors.h>
#include <kalto/system.h>
#include <kalto/types.h>

#endif
