/* Network adapter and address tables. */
#ifndef KALTO_IPHLPAPI_H
#define KALTO_IPHLPAPI_H

#include <kalto/errors.h>
#include <kalto/types.h>

#endif
