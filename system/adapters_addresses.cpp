#include "system/network_files.h"
#include "system/unicast_entry.h"

#include <cstdlib>
#include <iterator>

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

template <typename Entry>
void put_groups(Pieces& pieces, const std::vector<NetworkGroup>& groups, DWORD index, Entry*& first) {
    Chain<Entry> chain(pieces, first);
    for (const NetworkGroup& group : groups) {
        if (group.index == index || group.index == kEveryInterface) {
            Entry entry = {};
            entry.Length = sizeof entry;
            entry.Address = put_address(pieces, group.address, static_cast<std::uint32_t>(index));
            chain.add(entry);
        }
    }
}

void put_all_groups(Pieces& pieces, const NetworkFiles& files, IP_ADAPTER_ADDRESSES& adapter) {
    put_groups(pieces, files.anycast, adapter.IfIndex, adapter.FirstAnycastAddress);
    put_groups(pieces, files.multicast, adapter.IfIndex, adapter.FirstMulticastAddress);
    // Windows keeps the servers with the adapter that they came through; here they are the machine's, and
    // every adapter leads to them that is in use and leads anywhere.
    if (adapter.OperStatus == IfOperStatusUp && adapter.IfType != IF_TYPE_SOFTWARE_LOOPBACK) {
        put_groups(pieces, files.name_servers, adapter.IfIndex, adapter.FirstDnsServerAddress);
    }
}

// Each adapter's record stands before what it points to, so that the first is where the caller's buffer
// starts.
std::size_t put_adapters(void* buffer, const Query& query, const Network& network,
                         const NetworkFiles& files) {
    Pieces pieces(buffer);
    BYTE* previous = nullptr;
    for (const NetworkLink& link : network.links) {
        BYTE* const place = pieces.take(sizeof(IP_ADAPTER_ADDRESSES));
        IP_ADAPTER_ADDRESSES adapter = {};
        describe(link, adapter);
        put_names(pieces, query, link, adapter);
        put_addresses(pieces, query, network, adapter);
        put_gateways(pieces, query, network, adapter);
        put_all_groups(pieces, files, adapter);
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

NetworkFiles read_files(const Query& query) {
    NetworkFiles files;
    if (!query.wants(GAA_FLAG_SKIP_ANYCAST)) {
        read_anycast(files.anycast);
    }
    if (!query.wants(GAA_FLAG_SKIP_MULTICAST)) {
        read_multicast(files.multicast);
    }
    if (!query.wants(GAA_FLAG_SKIP_DNS_SERVER)) {
        read_name_servers(files.name_servers);
    }
    for (std::vector<NetworkGroup>* groups : {&files.anycast, &files.multicast, &files.name_servers}) {
        keep_only(*groups, [&](const NetworkGroup& group) { return query.wants(group.address); });
    }
    return files;
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
    const NetworkFiles files = read_files(query);
    if (!fits(buffer, put_adapters(nullptr, query, network, files), size)) {
        return ERROR_BUFFER_OVERFLOW;
    }
    put_adapters(buffer, query, network, files);
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
