/* Version records. */
#ifndef KALTO_WINVER_H
#define KALTO_WINVER_H

#include <kalto/fs.h>
#include <kalto/types.h>

#endif
