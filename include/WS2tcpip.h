/* Sockets, as some sources spell it. */
#ifndef KALTO_WS2TCPIP_CAPITAL_H
#define KALTO_WS2TCPIP_CAPITAL_H

#include <ws2tcpip.h>

#endif
