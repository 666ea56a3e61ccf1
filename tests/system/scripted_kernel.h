// A kernel that answers from a script, and a network that it tells.
#ifndef KALTO_TESTS_SYSTEM_SCRIPTED_KERNEL_H
#define KALTO_TESTS_SYSTEM_SCRIPTED_KERNEL_H

#include <arpa/inet.h>
#include <cstring>
#include <deque>
#include <iphlpapi.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if_arp.h>
#include <string>

struct Reply {
    std::string bytes;
    int error = 0;       // errno of a failing recvmsg
    unsigned sender = 0; // 0 is the kernel
    bool truncated = false;
};

inline std::deque<Reply> script; // what recvmsg gives; empty: the real kernel answers
inline bool repeat_last = false; // for ever, instead of emptying the script
constexpr int kThrows = -1;      // the error of a recvmsg during which memory runs out

template <typename Record> std::string bytes_of(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

inline std::string padded(std::string bytes) {
    return bytes.append(-bytes.size() % NLMSG_ALIGNTO, '\0');
}

inline std::string attribute(unsigned short type, const std::string& data) {
    return padded(bytes_of(rtattr{static_cast<unsigned short>(RTA_LENGTH(data.size())), type}) + data);
}

inline std::string number(unsigned short type, unsigned value) {
    return attribute(type, bytes_of(value));
}

template <typename Header>
std::string message(unsigned short type, const Header& header, const std::string& attributes = "",
                    unsigned short flags = 0) {
    const std::string payload = padded(bytes_of(header)) + attributes;
    const auto size = static_cast<unsigned>(NLMSG_LENGTH(payload.size()));
    return bytes_of(nlmsghdr{size, type, flags, 0, 0}) + payload;
}

inline std::string done(int error = 0) {
    return message(NLMSG_DONE, error);
}

// The bytes of an address, whose text tells its family.
inline std::string packed(const std::string& text) {
    const bool ipv4 = text.find(':') == std::string::npos;
    std::string bytes(ipv4 ? 4 : 16, '\0');
    inet_pton(ipv4 ? AF_INET : AF_INET6, text.c_str(), &bytes[0]);
    return bytes;
}

inline std::string address(unsigned index, const std::string& local, unsigned char prefix_length = 24,
                           const std::string& more = "", unsigned short message_flags = 0) {
    ifaddrmsg header = {};
    header.ifa_family = local.find(':') == std::string::npos ? AF_INET : AF_INET6;
    header.ifa_prefixlen = prefix_length;
    header.ifa_index = index;
    return message(RTM_NEWADDR, header, attribute(IFA_LOCAL, packed(local)) + more, message_flags);
}

#endif
