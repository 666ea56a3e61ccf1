/* Sockets, as some sources spell it. */
#ifndef KALTO_WINSOCK2_MIXED_H
#define KALTO_WINSOCK2_MIXED_H

#include <winsock2.h>

#endif
