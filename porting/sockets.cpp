// What sockets need beside the system's own calls.
#include <algorithm>
#include <cstring>
#include <winsock2.h>

#undef select

int WSAStartup(WORD wVersionRequested, LPWSADATA lpWSAData) {
    if (lpWSAData == nullptr)
        return WSAEFAULT;
    *lpWSAData = WSADATA{};
    lpWSAData->wVersion = wVersionRequested;
    lpWSAData->wHighVersion = 0x0202;
    std::strcpy(lpWSAData->szDescription, "POSIX sockets");
    std::strcpy(lpWSAData->szSystemStatus, "Running");
    return 0;
}

static int highest_in(const fd_set* set) {
    int descriptor = set == nullptr ? -1 : FD_SETSIZE - 1;
    while (descriptor >= 0 && !FD_ISSET(descriptor, set))
        --descriptor;
    return descriptor;
}

int KaltoSelect(int /*nfds*/, fd_set* readfds, fd_set* writefds, fd_set* exceptfds,
                const struct timeval* timeout) {
    const int highest = std::max({highest_in(readfds), highest_in(writefds), highest_in(exceptfds)});
    // The system writes the time that is left into its argument; the caller's stays as it is.
    struct timeval left = {};
    if (timeout != nullptr)
        left = *timeout;
    return ::select(highest + 1, readfds, writefds, exceptfds, timeout != nullptr ? &left : nullptr);
}
