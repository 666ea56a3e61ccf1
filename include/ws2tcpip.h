/* Sockets, names and addresses. */
#ifndef KALTO_WS2TCPIP_H
#define KALTO_WS2TCPIP_H

#include <winsock2.h>

typedef struct addrinfo ADDRINFO, ADDRINFOA, *PADDRINFO, *PADDRINFOA, *LPADDRINFO;
typedef struct sockaddr_in6 SOCKADDR_IN6, *PSOCKADDR_IN6, *LPSOCKADDR_IN6;

#endif
