/* Sockets, as some sources spell it. */
#ifndef KALTO_WINSOCK2_CAPITAL_H
#define KALTO_WINSOCK2_CAPITAL_H

#include <winsock2.h>

#endif
