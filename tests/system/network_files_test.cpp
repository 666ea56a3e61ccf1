#include "system/network_files.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace {

// What the text tells, as "index address ".
std::string parsed(void (*parse)(const std::string&, std::vector<kalto::NetworkGroup>&), const char* text) {
    std::vector<kalto::NetworkGroup> groups;
    parse(text, groups);
    std::string result;
    for (const kalto::NetworkGroup& group : groups) {
        char address[INET6_ADDRSTRLEN] = "";
        inet_ntop(group.address.family, group.address.bytes, address, sizeof address);
        result += std::to_string(group.index) + " " + address + " ";
    }
    return result;
}

} // namespace

TEST(NetworkFiles, TellGroupsAndNameServers) {
    EXPECT_EQ(parsed(kalto::parse_igmp,
                     "Idx\tDevice    : Count Querier\tGroup    Users Timer\tReporter\n"
                     "1\tlo        :     1      V3\n\t\t\t\t010000E0     1 0:00000000\t\t0\n"
                     "12\teth0      :     2      V3\n\t\t\t\tFB0000E0     1 0:00000000\t\t0\n"
                     "\t\t\t\t010000E0     1 0:00000000\t\t0\n"),
              "1 224.0.0.1 12 224.0.0.251 12 224.0.0.1 ");
    EXPECT_EQ(parsed(kalto::parse_igmp, "\t\t010000E0 1\n1\n\t\tE0\n\t\tXX0000E0\nx\n\t\t010000E0"), "");
    EXPECT_EQ(parsed(kalto::parse_igmp6,
                     "4    eth0            ff0200000000000000000001ff000002     1 00000004 0\n"
                     "4 eth0 ff02\n4\n\n0 lo ff020000000000000000000000000001\n4 e "
                     "ff02000000000000000000000000000g"),
              "4 ff02::1:ff00:2 ");
    EXPECT_EQ(parsed(kalto::parse_name_servers,
                     "# nameserver 192.0.2.9\nsearch example\nnameserver 192.0.2.1\n"
                     "nameserver\t2001:db8::1 \r\nnameserver fe80::1%eth0\nnameserver\n"
                     "nameservers 192.0.2.2\n nameserver 192.0.2.3\nnameserver name\nnameserver 192.0.2.4"),
              "0 192.0.2.1 0 2001:db8::1 0 fe80::1 0 192.0.2.4 ");
}
