// A network of the test's own: a namespace with interfaces, addresses and routes that the test chooses.
#ifndef KALTO_TESTS_SYSTEM_NETWORK_NAMESPACE_H
#define KALTO_TESTS_SYSTEM_NETWORK_NAMESPACE_H

#include "netlink_message.h"

#include <arpa/inet.h>
#include <cerrno>
#include <linux/if_addr.h>
#include <net/if.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

// Moves the calling thread into a fresh network namespace. Returns 0 or the errno of the refusal.
inline int enter_own_network() {
    if (unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
        return 0;
    }
    return errno;
}

// Sends one request to the kernel and returns 0 or the errno of its answer.
inline int ask_kernel(NetlinkMessage& request) {
    const std::string bytes = request.bytes();
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    int error = errno;
    if (descriptor >= 0) {
        struct {
            nlmsghdr header;
            nlmsgerr error;
            char request[1024];
        } answer = {};
        const bool answered = send(descriptor, bytes.data(), bytes.size(), 0) > 0 &&
                              recv(descriptor, &answer, sizeof answer, 0) > 0;
        error = answered ? -answer.error.error : errno;
        close(descriptor);
    }
    return error;
}

constexpr unsigned short kCreate = NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL;

inline int activate(unsigned index) {
    ifinfomsg header = {};
    header.ifi_index = static_cast<int>(index);
    header.ifi_flags = IFF_UP;
    header.ifi_change = IFF_UP;
    NetlinkMessage request(RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK, header);
    return ask_kernel(request);
}

// Makes an Ethernet-like interface under the given index, of whichever kind this kernel has.
inline int add_interface(unsigned index, const char* name, const std::string& hardware_address,
                         unsigned mtu) {
    int error = 0;
    for (const char* kind : {"dummy", "veth", "bridge"}) {
        ifinfomsg header = {};
        header.ifi_index = static_cast<int>(index);
        const rtattr inner = {static_cast<unsigned short>(RTA_LENGTH(strlen(kind) + 1)), IFLA_INFO_KIND};
        std::string info(reinterpret_cast<const char*>(&inner), sizeof inner);
        info.append(kind, strlen(kind) + 1);
        NetlinkMessage request(RTM_NEWLINK, kCreate, header);
        request.attribute(IFLA_IFNAME, name, strlen(name) + 1)
            .attribute(IFLA_ADDRESS, hardware_address)
            .number(IFLA_MTU, mtu)
            .attribute(IFLA_LINKINFO, info);
        error = ask_kernel(request);
        if (error == 0) {
            return activate(index);
        }
    }
    return error;
}

inline std::string packed(int family, const char* text) {
    char bytes[16] = {};
    inet_pton(family, text, bytes);
    return std::string(bytes, family == AF_INET ? 4 : 16);
}

inline int add_address(unsigned index, int family, const char* text, unsigned char prefix_length,
                       const char* broadcast = nullptr, const char* label = nullptr) {
    ifaddrmsg header = {};
    header.ifa_family = static_cast<unsigned char>(family);
    header.ifa_prefixlen = prefix_length;
    header.ifa_flags = IFA_F_PERMANENT | (family == AF_INET6 ? IFA_F_NODAD : 0);
    header.ifa_index = index;
    NetlinkMessage request(RTM_NEWADDR, kCreate, header);
    request.attribute(IFA_LOCAL, packed(family, text)).attribute(IFA_ADDRESS, packed(family, text));
    if (broadcast != nullptr) {
        request.attribute(IFA_BROADCAST, packed(family, broadcast));
    }
    if (label != nullptr) {
        request.attribute(IFA_LABEL, label, strlen(label) + 1);
    }
    return ask_kernel(request);
}

inline int add_default_route(unsigned index, int family, const char* gateway, unsigned metric) {
    rtmsg header = {};
    header.rtm_family = static_cast<unsigned char>(family);
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_protocol = RTPROT_STATIC;
    header.rtm_scope = RT_SCOPE_UNIVERSE;
    header.rtm_type = RTN_UNICAST;
    NetlinkMessage request(RTM_NEWROUTE, kCreate, header);
    request.attribute(RTA_GATEWAY, packed(family, gateway))
        .number(RTA_OIF, index)
        .number(RTA_PRIORITY, metric);
    return ask_kernel(request);
}

#endif
