#include "system/network_tables.h"

#include <cstdlib>
#include <iterator>
#include <linux/if_addr.h>

static_assert(sizeof(void*) != 4 || (offsetof(IP_ADAPTER_ADDRESSES, FriendlyName) == 40 &&
                                     offsetof(IP_ADAPTER_ADDRESSES, OperStatus) == 68 &&
                                     offsetof(IP_ADAPTER_ADDRESSES, FirstPrefix) == 140 &&
                                     sizeof(IP_ADAPTER_UNICAST_ADDRESS) == 48),
              "applications rely on the layout");

namespace kalto {
namespace {

constexpr ULONG64 kUnknownSpeed = ~ULONG64{0};

struct Query {
    int family; // AF_UNSPEC asks for both
    ULONG flags;

    bool wants(ULONG flag) const { return (flags & flag) != 0; }
    bool wants(const IpAddress& address) const { return family == AF_UNSPEC || family == address.family; }
};

// Hands out the caller's buffer piece by piece, each piece aligned against its start. Without a buffer it
// only counts, so that the needed size and the table come from the same steps.
class Pieces {
  public:
    explicit Pieces(void* buffer) : buffer_(static_cast<BYTE*>(buffer)), used_(0) {}

    std::size_t used() const { return used_; }

    // The place of the next piece; null when counting.
    BYTE* take(std::size_t size) {
        BYTE* const place = buffer_ == nullptr ? nullptr : buffer_ + used_;
        used_ += (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
        return place;
    }

    template <typename T> T* copy(const T* items, std::size_t count) {
        BYTE* const place = take(count * sizeof(T));
        if (place != nullptr) {
            std::memcpy(place, items, count * sizeof(T));
        }
        return reinterpret_cast<T*>(place);
    }

  private:
    BYTE* buffer_;
    std::size_t used_;
};

// Appends pieces to a list that is linked through their Next.
template <typename Entry> class Chain {
  public:
    Chain(Pieces& pieces, Entry*& first) : pieces_(pieces), link_(reinterpret_cast<BYTE*>(&first)) {}

    void add(const Entry& entry) {
        Entry* const place = pieces_.copy(&entry, 1);
        if (place != nullptr) {
            store_pointer(link_, place);
            link_ = reinterpret_cast<BYTE*>(place) + offsetof(Entry, Next);
        }
    }

  private:
    Pieces& pieces_;
    BYTE* link_;
};

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

IP_SUFFIX_ORIGIN suffix_origin(const NetworkAddress& address) {
    if ((address.flags & IFA_F_TEMPORARY) != 0) {
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

IP_ADAPTER_UNICAST_ADDRESS unicast_entry(Pieces& pieces, const NetworkAddress& address) {
    IP_ADAPTER_UNICAST_ADDRESS entry = {};
    entry.Length = sizeof entry;
    if (!loopback(address.local) && !link_local(address.local)) {
        entry.Flags |= IP_ADAPTER_ADDRESS_DNS_ELIGIBLE;
    }
    if ((address.flags & IFA_F_TEMPORARY) != 0) {
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

// An interface name is bytes; those that are no text in the locale's encoding become one character each.
struct WideName {
    WCHAR text[sizeof(NetworkLink::name)];

    explicit WideName(const char* name) : text{} {
        if (std::mbstowcs(text, name, std::size(text)) == static_cast<std::size_t>(-1)) {
            for (std::size_t i = 0; i < std::size(text); ++i) {
                text[i] = static_cast<unsigned char>(name[i]);
            }
        }
    }
};

// The states of RFC 2863 as the kernel numbers them. Drivers that cannot tell (loopback, tunnels) leave
// "unknown"; what is active then is up.
IF_OPER_STATUS oper_status(const NetworkLink& link) {
    static constexpr IF_OPER_STATUS kStates[] = {
        IfOperStatusUp,      IfOperStatusNotPresent, IfOperStatusDown, IfOperStatusLowerLayerDown,
        IfOperStatusTesting, IfOperStatusDormant,    IfOperStatusUp};
    if ((link.flags & IFF_UP) == 0) {
        return IfOperStatusDown;
    }
    return link.operational_state < std::size(kStates) ? kStates[link.operational_state]
                                                       : IfOperStatusUnknown;
}

void describe(const NetworkLink& link, IP_ADAPTER_ADDRESSES& adapter) {
    adapter.Length = sizeof adapter;
    adapter.IfIndex = link.index;
    std::memcpy(adapter.PhysicalAddress, link.address, link.address_size);
    adapter.PhysicalAddressLength = link.address_size;
    adapter.Flags = (link.flags & IFF_MULTICAST) == 0 ? IP_ADAPTER_NO_MULTICAST : 0;
    adapter.Mtu = link.mtu;
    adapter.IfType = adapter_type(link.hardware);
    adapter.OperStatus = oper_status(link);
    adapter.ZoneIndices[1] = link.index;
    adapter.ZoneIndices[2] = link.index;
    adapter.TransmitLinkSpeed = kUnknownSpeed;
    adapter.ReceiveLinkSpeed = kUnknownSpeed;
    adapter.Luid.Value = link.index;
    adapter.CompartmentId = 1;
    adapter.ConnectionType = link.loopback() ? NET_IF_CONNECTION_PASSIVE : NET_IF_CONNECTION_DEDICATED;
}

// Every name takes the room of the longest, so that the size does not depend on a locale that another thread
// may change between counting and writing.
void put_names(Pieces& pieces, const Query& query, const NetworkLink& link, IP_ADAPTER_ADDRESSES& adapter) {
    const WideName wide(link.name);
    adapter.AdapterName = pieces.copy(link.name, std::size(link.name));
    adapter.DnsSuffix = pieces.copy(L"", 1);
    adapter.Description = pieces.copy(wide.text, std::size(wide.text));
    if (!query.wants(GAA_FLAG_SKIP_FRIENDLY_NAME)) {
        adapter.FriendlyName = pieces.copy(wide.text, std::size(wide.text));
    }
}

void put_addresses(Pieces& pieces, const Query& query, const Network& network,
                   IP_ADAPTER_ADDRESSES& adapter) {
    Chain<IP_ADAPTER_UNICAST_ADDRESS> unicast(pieces, adapter.FirstUnicastAddress);
    Chain<IP_ADAPTER_PREFIX> prefixes(pieces, adapter.FirstPrefix);
    for (const NetworkAddress& address : network.addresses) {
        if (address.index != adapter.IfIndex) {
            continue;
        }
        const bool ipv4 = address.local.family == AF_INET;
        adapter.Flags |= ipv4 ? IP_ADAPTER_IPV4_ENABLED : IP_ADAPTER_IPV6_ENABLED;
        adapter.Ipv6IfIndex = ipv4 ? adapter.Ipv6IfIndex : address.index;
        if (!query.wants(GAA_FLAG_SKIP_UNICAST)) {
            unicast.add(unicast_entry(pieces, address));
        }
        if (query.wants(GAA_FLAG_INCLUDE_PREFIX)) {
            prefixes.add(prefix_entry(pieces, address));
        }
    }
}

void put_gateways(Pieces& pieces, const Query& query, const Network& network, IP_ADAPTER_ADDRESSES& adapter) {
    Chain<IP_ADAPTER_GATEWAY_ADDRESS> chain(pieces, adapter.FirstGatewayAddress);
    for (const NetworkGateway& gateway : network.gateways) {
        if (gateway.index != adapter.IfIndex) {
            continue;
        }
        ULONG& metric = gateway.gateway.family == AF_INET ? adapter.Ipv4Metric : adapter.Ipv6Metric;
        metric = metric == 0 ? gateway.metric : metric;
        if (query.wants(GAA_FLAG_INCLUDE_GATEWAYS)) {
            IP_ADAPTER_GATEWAY_ADDRESS entry = {};
            entry.Length = sizeof entry;
            entry.Address = put_address(pieces, gateway.gateway, gateway.index);
            chain.add(entry);
        }
    }
}

// Each adapter's record stands before what it points to, so that the first is where the caller's buffer
// starts.
std::size_t put_adapters(void* buffer, const Query& query, const Network& network) {
    Pieces pieces(buffer);
    BYTE* previous = nullptr;
    for (const NetworkLink& link : network.links) {
        BYTE* const place = pieces.take(sizeof(IP_ADAPTER_ADDRESSES));
        IP_ADAPTER_ADDRESSES adapter = {};
        describe(link, adapter);
        put_names(pieces, query, link, adapter);
        put_addresses(pieces, query, network, adapter);
        put_gateways(pieces, query, network, adapter);
        if (place == nullptr) {
            continue;
        }
        store(place, adapter);
        if (previous != nullptr) {
            store_pointer(previous + offsetof(IP_ADAPTER_ADDRESSES, Next), place);
        }
        previous = place;
    }
    return pieces.used();
}

DWORD adapter_table(const Query& query, void* buffer, ULONG* size) {
    Network network;
    if (const int error = read_network(network)) {
        return static_cast<DWORD>(error);
    }
    keep_only(network.addresses, [&](const NetworkAddress& item) { return query.wants(item.local); });
    keep_only(network.gateways, [&](const NetworkGateway& item) { return query.wants(item.gateway); });
    if (network.links.empty() || (query.family != AF_UNSPEC && network.addresses.empty())) {
        return ERROR_NO_DATA;
    }
    if (!fits(buffer, put_adapters(nullptr, query, network), size)) {
        return ERROR_BUFFER_OVERFLOW;
    }
    put_adapters(buffer, query, network);
    return NO_ERROR;
}

} // namespace
} // namespace kalto

ULONG GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved, PIP_ADAPTER_ADDRESSES AdapterAddresses,
                           PULONG SizePointer) {
    UNREFERENCED_PARAMETER(Reserved);
    if (SizePointer == nullptr || (Family != AF_UNSPEC && Family != AF_INET && Family != AF_INET6)) {
        return ERROR_INVALID_PARAMETER;
    }
    const kalto::Query query = {static_cast<int>(Family), Flags};
    return kalto::guarded_table([&] { return kalto::adapter_table(query, AdapterAddresses, SizePointer); });
}
