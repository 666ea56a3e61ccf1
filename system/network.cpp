// Reads the messages of the kernel's routing socket. Sizes that a message claims are checked against what is
// there, so that a kernel of another age cannot lead astray.
#include "system/network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <iphlpapi.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if_arp.h>

namespace kalto {
namespace {

constexpr std::uint32_t kForEver = 0xFFFFFFFFu;

std::size_t family_size(int family) {
    switch (family) {
    case AF_INET:
        return 4;
    case AF_INET6:
        return 16;
    default:
        return 0;
    }
}

// Stable: equal items keep the kernel's order, in which an interface's primary address comes first.
template <typename Item, typename Before>
void insert_sorted(std::vector<Item>& items, const Item& item, Before before) {
    items.insert(std::upper_bound(items.begin(), items.end(), item, before), item);
}

std::uint32_t number(NetlinkBytes payload) {
    std::uint32_t value = 0;
    take_record(payload, sizeof value, value);
    return value;
}

IpAddress ip_address(int family, NetlinkBytes payload) {
    IpAddress address = {};
    if (family_size(family) != 0 && payload.size == family_size(family)) {
        address.family = family;
        std::memcpy(address.bytes, payload.data, payload.size);
    }
    return address;
}

void apply_link_attribute(const NetlinkItem& attribute, NetworkLink& link) {
    const NetlinkBytes payload = attribute.payload;
    switch (attribute.type) {
    case IFLA_IFNAME:
        std::memcpy(link.name, payload.data, std::min(payload.size, sizeof link.name - 1));
        break;
    case IFLA_ADDRESS:
        link.address_size = static_cast<std::uint32_t>(std::min(payload.size, sizeof link.address));
        std::memcpy(link.address, payload.data, link.address_size);
        break;
    case IFLA_MTU:
        link.mtu = number(payload);
        break;
    case IFLA_OPERSTATE:
        link.operational_state = payload.size != 0 ? payload.data[0] : std::uint8_t{0};
        break;
    default:
        break;
    }
}

// Where an address has a peer, LOCAL is the interface's own and ADDRESS the peer's; an IPv6 address without a
// peer comes as ADDRESS alone.
struct AddressAttributes {
    IpAddress local;
    IpAddress address;
};

void apply_address_attribute(const NetlinkItem& attribute, int family, AddressAttributes& found,
                             NetworkAddress& address) {
    NetlinkBytes payload = attribute.payload;
    ifa_cacheinfo lifetimes = {};
    switch (attribute.type) {
    case IFA_LOCAL:
        found.local = ip_address(family, payload);
        break;
    case IFA_ADDRESS:
        found.address = ip_address(family, payload);
        break;
    case IFA_BROADCAST:
        address.broadcast = family == AF_INET ? number(payload) : 0;
        break;
    case IFA_FLAGS: // all 32 of them; the header has room for 8
        address.flags = number(payload);
        break;
    case IFA_CACHEINFO:
        if (take_record(payload, sizeof lifetimes, lifetimes)) {
            address.valid_lifetime = lifetimes.ifa_valid;
            address.preferred_lifetime = lifetimes.ifa_prefered;
        }
        break;
    default:
        break;
    }
}

void add_gateway(std::vector<NetworkGateway>& gateways, const NetworkGateway& gateway) {
    if (gateway.index != 0 && gateway.gateway.family != 0) {
        insert_sorted(gateways, gateway, [](const NetworkGateway& a, const NetworkGateway& b) {
            return a.index != b.index ? a.index < b.index : a.metric < b.metric;
        });
    }
}

// A route with several next hops carries a list of records, each with attributes of its own.
void add_next_hops(NetlinkBytes hops, const NetworkGateway& route, int family,
                   std::vector<NetworkGateway>& gateways) {
    while (hops.size >= sizeof(rtnexthop)) {
        rtnexthop hop = {};
        std::memcpy(&hop, hops.data, sizeof hop);
        const std::size_t size = hop.rtnh_len;
        if (size < sizeof hop || size > hops.size) {
            return;
        }
        NetworkGateway gateway = route;
        gateway.index = static_cast<std::uint32_t>(hop.rtnh_ifindex);
        NetlinkBytes attributes = {hops.data + sizeof hop, size - sizeof hop};
        NetlinkItem attribute = {};
        while (take_attribute(attributes, attribute)) {
            if (attribute.type == RTA_GATEWAY) {
                gateway.gateway = ip_address(family, attribute.payload);
            }
        }
        add_gateway(gateways, gateway);
        const std::size_t taken = std::min((size + 3) & ~std::size_t{3}, hops.size);
        hops = {hops.data + taken, hops.size - taken};
    }
}

void parse_route(const rtmsg& route, NetlinkBytes attributes, std::vector<NetworkGateway>& gateways) {
    NetworkGateway gateway = {};
    NetlinkBytes hops = {};
    std::uint32_t table = route.rtm_table;
    NetlinkItem attribute = {};
    while (take_attribute(attributes, attribute)) {
        switch (attribute.type) {
        case RTA_GATEWAY:
            gateway.gateway = ip_address(route.rtm_family, attribute.payload);
            break;
        case RTA_OIF:
            gateway.index = number(attribute.payload);
            break;
        case RTA_PRIORITY:
            gateway.metric = number(attribute.payload);
            break;
        case RTA_TABLE:
            table = number(attribute.payload);
            break;
        case RTA_MULTIPATH:
            hops = attribute.payload;
            break;
        default:
            break;
        }
    }
    if (table == RT_TABLE_MAIN) {
        add_gateway(gateways, gateway);
        add_next_hops(hops, gateway, route.rtm_family, gateways);
    }
}

template <typename Item, typename Parse>
int read_table(unsigned short request, Parse parse, std::vector<Item>& items) {
    std::vector<unsigned char> messages;
    const int error = netlink_dump(request, messages);
    if (error == 0) {
        parse(NetlinkBytes{messages.data(), messages.size()}, items);
    }
    return error;
}

} // namespace

std::size_t IpAddress::size() const {
    return family_size(family);
}

void parse_links(NetlinkBytes messages, std::vector<NetworkLink>& links) {
    NetlinkItem message = {};
    while (take_message(messages, message)) {
        ifinfomsg header = {};
        if (message.type != RTM_NEWLINK ||
            !take_record(message.payload, NLMSG_ALIGN(sizeof header), header)) {
            continue;
        }
        NetworkLink link = {};
        link.index = static_cast<std::uint32_t>(header.ifi_index);
        link.hardware = header.ifi_type;
        link.flags = header.ifi_flags;
        NetlinkItem attribute = {};
        while (take_attribute(message.payload, attribute)) {
            apply_link_attribute(attribute, link);
        }
        insert_sorted(links, link,
                      [](const NetworkLink& a, const NetworkLink& b) { return a.index < b.index; });
    }
}

void parse_addresses(NetlinkBytes messages, std::vector<NetworkAddress>& addresses) {
    NetlinkItem message = {};
    while (take_message(messages, message)) {
        ifaddrmsg header = {};
        if (message.type != RTM_NEWADDR ||
            !take_record(message.payload, NLMSG_ALIGN(sizeof header), header)) {
            continue;
        }
        NetworkAddress address = {};
        AddressAttributes found = {};
        address.index = header.ifa_index;
        address.flags = header.ifa_flags;
        address.valid_lifetime = kForEver;
        address.preferred_lifetime = kForEver;
        NetlinkItem attribute = {};
        while (take_attribute(message.payload, attribute)) {
            apply_address_attribute(attribute, header.ifa_family, found, address);
        }
        address.local = found.local.family != 0 ? found.local : found.address;
        const std::size_t bits = 8 * address.local.size();
        address.prefix_length = static_cast<std::uint8_t>(std::min<std::size_t>(header.ifa_prefixlen, bits));
        if (bits != 0) {
            insert_sorted(addresses, address,
                          [](const NetworkAddress& a, const NetworkAddress& b) { return a.index < b.index; });
        }
    }
}

void parse_gateways(NetlinkBytes messages, std::vector<NetworkGateway>& gateways) {
    NetlinkItem message = {};
    while (take_message(messages, message)) {
        rtmsg route = {};
        if (message.type == RTM_NEWROUTE && take_record(message.payload, NLMSG_ALIGN(sizeof route), route) &&
            route.rtm_dst_len == 0 && route.rtm_type == RTN_UNICAST &&
            (route.rtm_flags & RTM_F_CLONED) == 0) {
            parse_route(route, message.payload, gateways);
        }
    }
}

int read_addresses(std::vector<NetworkAddress>& addresses) {
    return read_table(RTM_GETADDR, parse_addresses, addresses);
}

int read_network(Network& network) {
    int error = read_table(RTM_GETLINK, parse_links, network.links);
    if (error == 0) {
        error = read_addresses(network.addresses);
    }
    if (error == 0) {
        error = read_table(RTM_GETROUTE, parse_gateways, network.gateways);
    }
    return error;
}

std::uint32_t ipv4_mask(unsigned prefix_length) {
    return prefix_length == 0 ? 0 : htonl(0xFFFFFFFFu << (32 - prefix_length));
}

std::uint32_t adapter_type(std::uint16_t hardware) {
    switch (hardware) {
    case ARPHRD_ETHER:
        return IF_TYPE_ETHERNET_CSMACD;
    case ARPHRD_LOOPBACK:
        return IF_TYPE_SOFTWARE_LOOPBACK;
    case ARPHRD_PPP:
        return IF_TYPE_PPP;
    case ARPHRD_SLIP:
    case ARPHRD_CSLIP:
    case ARPHRD_SLIP6:
    case ARPHRD_CSLIP6:
        return IF_TYPE_SLIP;
    case ARPHRD_IEEE802:
    case ARPHRD_IEEE802_TR:
        return IF_TYPE_ISO88025_TOKENRING;
    case ARPHRD_FDDI:
        return IF_TYPE_FDDI;
    case ARPHRD_ATM:
        return IF_TYPE_ATM;
    case ARPHRD_IEEE80211:
    case ARPHRD_IEEE80211_PRISM:
    case ARPHRD_IEEE80211_RADIOTAP:
        return IF_TYPE_IEEE80211;
    case ARPHRD_IEEE1394:
        return IF_TYPE_IEEE1394;
    case ARPHRD_TUNNEL:
    case ARPHRD_TUNNEL6:
    case ARPHRD_SIT:
    case ARPHRD_IPGRE:
        return IF_TYPE_TUNNEL;
    default:
        return IF_TYPE_OTHER;
    }
}

} // namespace kalto
