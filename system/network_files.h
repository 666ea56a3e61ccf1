// The lists that the kernel's routing socket does not give on every kernel, read from text: the groups that
// interfaces listen to (/proc) and the name servers (the resolver's configuration).
#ifndef KALTO_SYSTEM_NETWORK_FILES_H
#define KALTO_SYSTEM_NETWORK_FILES_H

#include "system/network.h"

#include <string>

namespace kalto {

constexpr std::uint32_t kEveryInterface = 0;

struct NetworkGroup {
    std::uint32_t index; // of the interface, or kEveryInterface
    IpAddress address;
};

struct NetworkFiles {
    std::vector<NetworkGroup> anycast;
    std::vector<NetworkGroup> multicast;
    std::vector<NetworkGroup> name_servers;
};

// Take what the text of a file tells, one line after the other; lines of another shape are passed over.
void parse_igmp(const std::string& text, std::vector<NetworkGroup>& groups);  // /proc/net/igmp
void parse_igmp6(const std::string& text, std::vector<NetworkGroup>& groups); // igmp6 and anycast6 there
void parse_name_servers(const std::string& text, std::vector<NetworkGroup>& servers);

// The same from the files, IPv4 first. A file that cannot be read counts as empty.
void read_anycast(std::vector<NetworkGroup>& groups);
void read_multicast(std::vector<NetworkGroup>& groups);
void read_name_servers(std::vector<NetworkGroup>& servers);

} // namespace kalto

#endif
