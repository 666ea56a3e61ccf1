/* The system's sockets under the names that ported sources use. Often the first header of a source: it brings
 * the basic types with it.
 *
 * A socket is a file descriptor, and every error is the POSIX number in errno: WSAGetLastError reads it. */
#ifndef KALTO_WINSOCK2_H
#define KALTO_WINSOCK2_H

#include <arpa/inet.h>
#include <errno.h>
#include <kalto/types.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/types.h>
#include <unistd.h>
#include <windows.h>

/* Strict dialects have these in no header. */
#ifndef __u_char_defined
#define __u_char_defined
typedef unsigned char u_char;
typedef unsigned short u_short;
typedef unsigned int u_int;
typedef unsigned long u_long;
#endif

typedef int SOCKET;
#define INVALID_SOCKET (-1)
#define SOCKET_ERROR (-1)

typedef struct sockaddr SOCKADDR, *PSOCKADDR, *LPSOCKADDR;
typedef struct sockaddr_in SOCKADDR_IN, *PSOCKADDR_IN, *LPSOCKADDR_IN;
typedef struct sockaddr_storage SOCKADDR_STORAGE, *PSOCKADDR_STORAGE, *LPSOCKADDR_STORAGE;
typedef struct in_addr IN_ADDR, *PIN_ADDR, *LPIN_ADDR;
typedef struct hostent HOSTENT, *PHOSTENT, *LPHOSTENT;
typedef struct servent SERVENT, *PSERVENT, *LPSERVENT;
typedef struct protoent PROTOENT, *PPROTOENT, *LPPROTOENT;
typedef struct timeval TIMEVAL, *PTIMEVAL, *LPTIMEVAL;
typedef struct linger LINGER, *PLINGER, *LPLINGER;
typedef fd_set FD_SET_TYPE, *PFD_SET, *LPFD_SET;

#define WSADESCRIPTION_LEN 256
#define WSASYS_STATUS_LEN 128

typedef struct WSAData {
    WORD wVersion;
    WORD wHighVersion;
    char szDescription[WSADESCRIPTION_LEN + 1];
    char szSystemStatus[WSASYS_STATUS_LEN + 1];
    unsigned short iMaxSockets;
    unsigned short iMaxUdpDg;
    char* lpVendorInfo;
} WSADATA, *LPWSADATA;

KALTO_BEGIN_DECLS

/* Fills the record and returns 0; WSAEFAULT for null. There is nothing to start, and nothing to clean up. */
KALTO_API int WSAStartup(WORD wVersionRequested, LPWSADATA lpWSAData);
static inline int WSACleanup(void) {
    return 0;
}
#define WSAGetLastError() (errno)
#define WSASetLastError(error) ((void)(errno = (error)))

/* select with the habits of Windows: the number of descriptors is not looked at, and the time-out is left as
 * it is. */
KALTO_API int KaltoSelect(int nfds, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
                          const struct timeval* timeout);
#define select KaltoSelect

/* ioctl for the commands that take a number, FIONBIO and FIONREAD, whose number here is an int. */
static inline int ioctlsocket(SOCKET s, long command, u_long* argument) {
    int number = KALTO_CAST(int, *argument);
    const int result = ioctl(s, KALTO_CAST(unsigned long, command), &number);
    *argument = KALTO_CAST(unsigned int, number);
    return result;
}

KALTO_END_DECLS

#define closesocket close
#define SD_RECEIVE SHUT_RD
#define SD_SEND SHUT_WR
#define SD_BOTH SHUT_RDWR

/* Errors. WSAEINTR is a variable of <kalto/kernel.h>. */
#define WSABASEERR 0
#define WSAEACCES EACCES
#define WSAEADDRINUSE EADDRINUSE
#define WSAEADDRNOTAVAIL EADDRNOTAVAIL
#define WSAEAFNOSUPPORT EAFNOSUPPORT
#define WSAEALREADY EALREADY
#define WSAEBADF EBADF
#define WSAECONNABORTED ECONNABORTED
#define WSAECONNREFUSED ECONNREFUSED
#define WSAECONNRESET ECONNRESET
#define WSAEDESTADDRREQ EDESTADDRREQ
#define WSAEFAULT EFAULT
#define WSAEHOSTDOWN EHOSTDOWN
#define WSAEHOSTUNREACH EHOSTUNREACH
#define WSAEINPROGRESS EINPROGRESS
#define WSAEINVAL EINVAL
#define WSAEISCONN EISCONN
#define WSAEMFILE EMFILE
#define WSAEMSGSIZE EMSGSIZE
#define WSAENETDOWN ENETDOWN
#define WSAENETRESET ENETRESET
#define WSAENETUNREACH ENETUNREACH
#define WSAENOBUFS ENOBUFS
#define WSAENOPROTOOPT ENOPROTOOPT
#define WSAENOTCONN ENOTCONN
#define WSAENOTSOCK ENOTSOCK
#define WSAEOPNOTSUPP EOPNOTSUPP
#define WSAEPROTONOSUPPORT EPROTONOSUPPORT
#define WSAEPROTOTYPE EPROTOTYPE
#define WSAESHUTDOWN ESHUTDOWN
#define WSAETIMEDOUT ETIMEDOUT
#define WSAEWOULDBLOCK EWOULDBLOCK
#define WSANOTINITIALISED ENOSYS
#define WSAHOST_NOT_FOUND HOST_NOT_FOUND
#define WSATRY_AGAIN TRY_AGAIN
#define WSANO_RECOVERY NO_RECOVERY
#define WSANO_DATA NO_DATA

#ifdef __cplusplus
/* Ported sources keep lengths in an int, where the system has an unsigned type of that size. */
inline SOCKET accept(SOCKET s, struct sockaddr* addr, int* addrlen) {
    return ::accept(s, addr, reinterpret_cast<socklen_t*>(addrlen));
}
inline int getsockname(SOCKET s, struct sockaddr* name, int* namelen) {
    return ::getsockname(s, name, reinterpret_cast<socklen_t*>(namelen));
}
inline int getpeername(SOCKET s, struct sockaddr* name, int* namelen) {
    return ::getpeername(s, name, reinterpret_cast<socklen_t*>(namelen));
}
inline int getsockopt(SOCKET s, int level, int name, void* value, int* length) {
    return ::getsockopt(s, level, name, value, reinterpret_cast<socklen_t*>(length));
}
inline SSIZE_T recvfrom(SOCKET s, void* buffer, size_t length, int flags, struct sockaddr* from,
                        int* fromlen) {
    return ::recvfrom(s, buffer, length, flags, from, reinterpret_cast<socklen_t*>(fromlen));
}
#endif

#endif
