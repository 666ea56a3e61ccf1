/* Error numbers and result macros. */
#ifndef KALTO_WINERROR_H
#define KALTO_WINERROR_H

#include <kalto/errors.h>

#endif
