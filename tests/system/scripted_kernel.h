// A kernel that answers from a script, and the network calls in one form.
#ifndef KALTO_TESTS_SYSTEM_SCRIPTED_KERNEL_H
#define KALTO_TESTS_SYSTEM_SCRIPTED_KERNEL_H

#include <arpa/inet.h>
#include <cstring>
#include <deque>
#include <iphlpapi.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <string>

struct Reply {
    std::string bytes;
    int error = 0;       // errno of a failing recvmsg
    unsigned sender = 0; // 0 is the kernel
    bool truncated = false;
};

extern std::deque<Reply> script; // what recvmsg gives; empty: the real kernel answers
extern bool repeat_last;         // for ever, instead of emptying the script

constexpr ULONG kAllKinds = GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

using TableCall = DWORD (*)(void* buffer, ULONG* size);
constexpr TableCall kTableCalls[] = {
    [](void* buffer, ULONG* size) {
        return GetIpAddrTable(static_cast<MIB_IPADDRTABLE*>(buffer), size, TRUE);
    },
    [](void* buffer, ULONG* size) { return GetAdaptersInfo(static_cast<IP_ADAPTER_INFO*>(buffer), size); },
    [](void* buffer, ULONG* size) -> DWORD {
        auto* first = static_cast<IP_ADAPTER_ADDRESSES*>(buffer);
        return GetAdaptersAddresses(AF_UNSPEC, kAllKinds, nullptr, first, size);
    },
};

class NetlinkMessage {
  public:
    template <typename Header>
    NetlinkMessage(unsigned short type, const Header& header, unsigned short flags = 0) {
        nlmsghdr start = {};
        start.nlmsg_type = type;
        start.nlmsg_flags = flags;
        append(&start, sizeof start);
        append(&header, sizeof header);
    }

    NetlinkMessage& attribute(unsigned short type, const std::string& data) {
        const rtattr header = {static_cast<unsigned short>(RTA_LENGTH(data.size())), type};
        append(&header, sizeof header);
        append(data.data(), data.size());
        return *this;
    }
    NetlinkMessage& number(unsigned short type, unsigned value) {
        return attribute(type, std::string(reinterpret_cast<const char*>(&value), sizeof value));
    }

    std::string bytes() {
        const auto size = static_cast<unsigned>(bytes_.size());
        return bytes_.replace(0, sizeof size, reinterpret_cast<const char*>(&size), sizeof size);
    }

  private:
    void append(const void* data, size_t size) {
        bytes_.append(static_cast<const char*>(data), size);
        bytes_.resize(NLMSG_ALIGN(bytes_.size()));
    }

    std::string bytes_;
};

inline std::string done(int error = 0) {
    return NetlinkMessage(NLMSG_DONE, error).bytes();
}

// The bytes of an address, whose text tells its family.
inline std::string packed(const std::string& text) {
    const bool ipv4 = text.find(':') == std::string::npos;
    std::string bytes(ipv4 ? 4 : 16, '\0');
    inet_pton(ipv4 ? AF_INET : AF_INET6, text.c_str(), &bytes[0]);
    return bytes;
}

inline NetlinkMessage address(unsigned index, const std::string& local, unsigned char prefix_length = 24,
                              unsigned char flags = 0, unsigned short message_flags = 0) {
    ifaddrmsg header = {};
    header.ifa_family = local.find(':') == std::string::npos ? AF_INET : AF_INET6;
    header.ifa_prefixlen = prefix_length;
    header.ifa_flags = flags;
    header.ifa_index = index;
    return NetlinkMessage(RTM_NEWADDR, header, message_flags).attribute(IFA_LOCAL, packed(local));
}

inline rtmsg default_route() {
    rtmsg header = {};
    header.rtm_family = AF_INET;
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_type = RTN_UNICAST;
    return header;
}

#endif
