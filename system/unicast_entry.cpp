#include "system/unicast_entry.h"

#include <linux/if_addr.h>

namespace kalto {
namespace {

bool link_local(const IpAddress& address) {
    if (address.family == AF_INET) {
        return address.bytes[0] == 169 && address.bytes[1] == 254;
    }
    return address.bytes[0] == 0xFE && (address.bytes[1] & 0xC0) == 0x80;
}

bool loopback(const IpAddress& address) {
    static constexpr std::uint8_t kLoopback6[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return address.family == AF_INET ? address.bytes[0] == 127
                                     : std::memcmp(address.bytes, kLoopback6, sizeof kLoopback6) == 0;
}

IP_DAD_STATE dad_state(std::uint32_t flags) {
    if ((flags & IFA_F_DADFAILED) != 0) {
        return IpDadStateDuplicate;
    }
    if ((flags & IFA_F_TENTATIVE) != 0) {
        return IpDadStateTentative;
    }
    return (flags & IFA_F_DEPRECATED) != 0 ? IpDadStateDeprecated : IpDadStatePreferred;
}

// The kernel does not say who made an address. One with a lifetime was lent: by a DHCP server for IPv4, after
// a router's advertisement for IPv6.
IP_PREFIX_ORIGIN prefix_origin(const NetworkAddress& address) {
    if (loopback(address.local) || link_local(address.local)) {
        return IpPrefixOriginWellKnown;
    }
    if ((address.flags & IFA_F_PERMANENT) != 0) {
        return IpPrefixOriginManual;
    }
    return address.local.family == AF_INET ? IpPrefixOriginDhcp : IpPrefixOriginRouterAdvertisement;
}

// Of an IPv4 address the same bit says that it is a secondary one.
bool temporary(const NetworkAddress& address) {
    return address.local.family == AF_INET6 && (address.flags & IFA_F_TEMPORARY) != 0;
}

IP_SUFFIX_ORIGIN suffix_origin(const NetworkAddress& address) {
    if (temporary(address)) {
        return IpSuffixOriginRandom;
    }
    if (address.local.family == AF_INET6 && link_local(address.local)) {
        return IpSuffixOriginLinkLayerAddress;
    }
    switch (prefix_origin(address)) {
    case IpPrefixOriginWellKnown:
        return IpSuffixOriginWellKnown;
    case IpPrefixOriginManual:
        return IpSuffixOriginManual;
    case IpPrefixOriginDhcp:
        return IpSuffixOriginDhcp;
    default:
        return IpSuffixOriginLinkLayerAddress;
    }
}

} // namespace

SOCKET_ADDRESS put_address(Pieces& pieces, const IpAddress& address, std::uint32_t index) {
    SOCKET_ADDRESS result = {};
    if (address.family == AF_INET) {
        sockaddr_in place = {};
        place.sin_family = AF_INET;
        std::memcpy(&place.sin_addr, address.bytes, sizeof place.sin_addr);
        result.lpSockaddr = reinterpret_cast<sockaddr*>(pieces.copy(&place, 1));
        result.iSockaddrLength = sizeof place;
    } else {
        sockaddr_in6 place = {};
        place.sin6_family = AF_INET6;
        std::memcpy(&place.sin6_addr, address.bytes, sizeof place.sin6_addr);
        place.sin6_scope_id = link_local(address) ? index : 0;
        result.lpSockaddr = reinterpret_cast<sockaddr*>(pieces.copy(&place, 1));
        result.iSockaddrLength = sizeof place;
    }
    return result;
}

IP_ADAPTER_UNICAST_ADDRESS unicast_entry(Pieces& pieces, const NetworkAddress& address) {
    IP_ADAPTER_UNICAST_ADDRESS entry = {};
    entry.Length = sizeof entry;
    if (!loopback(address.local) && !link_local(address.local)) {
        entry.Flags |= IP_ADAPTER_ADDRESS_DNS_ELIGIBLE;
    }
    if (temporary(address)) {
        entry.Flags |= IP_ADAPTER_ADDRESS_TRANSIENT;
    }
    entry.Address = put_address(pieces, address.local, address.index);
    entry.PrefixOrigin = prefix_origin(address);
    entry.SuffixOrigin = suffix_origin(address);
    entry.DadState = dad_state(address.flags);
    entry.ValidLifetime = address.valid_lifetime;
    entry.PreferredLifetime = address.preferred_lifetime;
    entry.LeaseLifetime = address.valid_lifetime;
    entry.OnLinkPrefixLength = address.prefix_length;
    return entry;
}

IP_ADAPTER_PREFIX prefix_entry(Pieces& pieces, const NetworkAddress& address) {
    IpAddress network = address.local;
    for (std::size_t bit = address.prefix_length; bit < 8 * network.size(); ++bit) {
        network.bytes[bit / 8] &= static_cast<std::uint8_t>(~(0x80u >> (bit % 8)));
    }
    IP_ADAPTER_PREFIX entry = {};
    entry.Length = sizeof entry;
    entry.Address = put_address(pieces, network, address.index);
    entry.PrefixLength = address.prefix_length;
    return entry;
}

} // namespace kalto
