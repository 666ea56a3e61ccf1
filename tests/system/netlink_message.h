// Builds netlink messages: what the kernel would send, and requests to it.
#ifndef KALTO_TESTS_SYSTEM_NETLINK_MESSAGE_H
#define KALTO_TESTS_SYSTEM_NETLINK_MESSAGE_H

#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <string>

class NetlinkMessage {
  public:
    template <typename Header>
    NetlinkMessage(unsigned short type, unsigned short flags, const Header& header) {
        nlmsghdr start = {};
        start.nlmsg_type = type;
        start.nlmsg_flags = flags;
        append(&start, sizeof start);
        append(&header, sizeof header);
    }

    NetlinkMessage& attribute(unsigned short type, const void* data, size_t size) {
        const rtattr header = {static_cast<unsigned short>(RTA_LENGTH(size)), type};
        append(&header, sizeof header);
        append(data, size);
        return *this;
    }
    NetlinkMessage& attribute(unsigned short type, const std::string& text) {
        return attribute(type, text.data(), text.size());
    }
    NetlinkMessage& number(unsigned short type, unsigned value) {
        return attribute(type, &value, sizeof value);
    }

    const std::string& bytes() {
        const auto size = static_cast<unsigned>(bytes_.size());
        bytes_.replace(0, sizeof size, reinterpret_cast<const char*>(&size), sizeof size);
        return bytes_;
    }

  private:
    void append(const void* data, size_t size) {
        bytes_.append(static_cast<const char*>(data), size);
        bytes_.resize(NLMSG_ALIGN(bytes_.size()));
    }

    std::string bytes_;
};

#endif
