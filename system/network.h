// The kernel's view of the network: interfaces, their addresses, and the gateways of the default routes.
#ifndef KALTO_SYSTEM_NETWORK_H
#define KALTO_SYSTEM_NETWORK_H

#include "system/netlink.h"
#include <cstdint>
#include <net/if.h>
#include <vector>

namespace kalto {

constexpr std::size_t kHardwareAddressSize = 8; // what the Windows records have room for

struct NetworkLink {
    std::uint32_t index;
    char name[IFNAMSIZ + 1];
    std::uint16_t hardware; // ARPHRD_...
    std::uint32_t flags;    // IFF_...
    std::uint32_t mtu;
    std::uint8_t operational_state; // IF_OPER_...
    std::uint8_t address[kHardwareAddressSize];
    std::uint32_t address_size;

    bool loopback() const { return (flags & IFF_LOOPBACK) != 0; }
};

// An address of either family; IPv4 uses the first 4 bytes. In network order.
struct IpAddress {
    int family;
    std::uint8_t bytes[16];

    std::size_t size() const;
};

struct NetworkAddress {
    std::uint32_t index;
    IpAddress local;
    std::uint8_t prefix_length; // at most the bits of the family
    std::uint32_t broadcast;    // IPv4 alone; 0 when there is none
    std::uint32_t flags;        // IFA_F_...
    std::uint32_t valid_lifetime;
    std::uint32_t preferred_lifetime;
};

struct NetworkGateway {
    std::uint32_t index;
    IpAddress gateway;
    std::uint32_t metric;
};

// Take what the messages of a dump tell. Messages of other kinds and malformed ones are passed over. Sorted
// by interface index, gateways also by metric; otherwise in the kernel's order. Throw std::bad_alloc.
void parse_links(NetlinkBytes messages, std::vector<NetworkLink>& links);
void parse_addresses(NetlinkBytes messages, std::vector<NetworkAddress>& addresses);
void parse_gateways(NetlinkBytes messages, std::vector<NetworkGateway>& gateways);

struct Network {
    std::vector<NetworkLink> links;
    std::vector<NetworkAddress> addresses;
    std::vector<NetworkGateway> gateways;
};

// The same from the kernel: everything, or the addresses alone. Return 0 or an errno. Throw std::bad_alloc.
int read_network(Network& network);
int read_addresses(std::vector<NetworkAddress>& addresses);

// The network mask, in network order.
std::uint32_t ipv4_mask(unsigned prefix_length);

// The IF_TYPE_... of a kind of hardware.
std::uint32_t adapter_type(std::uint16_t hardware);

} // namespace kalto

#endif
