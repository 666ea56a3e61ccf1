/* Sockets: there is one set of them. */
#ifndef KALTO_WINSOCK_H
#define KALTO_WINSOCK_H

#include <winsock2.h>

#endif
