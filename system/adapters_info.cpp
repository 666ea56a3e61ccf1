#include "system/network_tables.h"

#include <arpa/inet.h>

static_assert(sizeof(void*) != 4 || sizeof(time_t) != 4 || sizeof(IP_ADAPTER_INFO) == 640,
              "applications rely on the layout");

namespace kalto {
namespace {

using AddressList = std::vector<IP_ADDR_STRING>;

void put_text(IP_ADDRESS_STRING& text, const void* address) {
    inet_ntop(AF_INET, address, text.String, sizeof text.String);
}

IP_ADDR_STRING entry_of(const void* address, std::uint32_t mask) {
    IP_ADDR_STRING entry = {};
    put_text(entry.IpAddress, address);
    put_text(entry.IpMask, &mask);
    return entry;
}

AddressList unless_empty(AddressList list) {
    if (list.empty()) {
        const std::uint32_t none = 0;
        list.push_back(entry_of(&none, none));
    }
    return list;
}

AddressList addresses_of(const NetworkLink& link, const Network& network) {
    AddressList list;
    for (const NetworkAddress& address : network.addresses) {
        if (address.index == link.index && address.local.family == AF_INET) {
            list.push_back(entry_of(address.local.bytes, ipv4_mask(address.prefix_length)));
        }
    }
    return unless_empty(list);
}

AddressList gateways_of(const NetworkLink& link, const Network& network) {
    AddressList list;
    for (const NetworkGateway& gateway : network.gateways) {
        if (gateway.index == link.index && gateway.gateway.family == AF_INET) {
            list.push_back(entry_of(gateway.gateway.bytes, ipv4_mask(32)));
        }
    }
    return unless_empty(list);
}

// Writes the records at the front of the caller's buffer and the further entries of their lists behind them.
// Without a buffer it only counts, so that the needed size and the table come from the same steps.
class AdapterTable {
  public:
    AdapterTable(void* buffer, const Network& network)
        : buffer_(static_cast<BYTE*>(buffer)), used_(network.links.size() * sizeof(IP_ADAPTER_INFO)) {
        for (std::size_t i = 0; i < network.links.size(); ++i) {
            add(i, i + 1 == network.links.size(), network);
        }
    }

    std::size_t used() const { return used_; }

  private:
    void add(std::size_t position, bool last, const Network& network) {
        const NetworkLink& link = network.links[position];
        IP_ADAPTER_INFO adapter = {};
        describe(link, adapter);
        put_list(addresses_of(link, network), adapter.IpAddressList);
        put_list(gateways_of(link, network), adapter.GatewayList);
        if (buffer_ == nullptr) {
            return;
        }
        BYTE* const place = buffer_ + position * sizeof adapter;
        adapter.Next = last ? nullptr : reinterpret_cast<IP_ADAPTER_INFO*>(place + sizeof adapter);
        adapter.CurrentIpAddress =
            reinterpret_cast<IP_ADDR_STRING*>(place + offsetof(IP_ADAPTER_INFO, IpAddressList));
        store(place, adapter);
    }

    static void describe(const NetworkLink& link, IP_ADAPTER_INFO& adapter) {
        adapter.ComboIndex = link.index;
        std::memcpy(adapter.AdapterName, link.name, sizeof link.name);
        std::memcpy(adapter.Description, link.name, sizeof link.name);
        adapter.AddressLength = link.address_size;
        std::memcpy(adapter.Address, link.address, link.address_size);
        adapter.Index = link.index;
        adapter.Type = adapter_type(link.hardware);
    }

    void put_list(AddressList list, IP_ADDR_STRING& head) {
        const std::size_t further = (list.size() - 1) * sizeof(IP_ADDR_STRING);
        if (buffer_ != nullptr) {
            BYTE* const place = buffer_ + used_;
            for (std::size_t i = 0; i + 1 < list.size(); ++i) {
                list[i].Next = reinterpret_cast<IP_ADDR_STRING*>(place + i * sizeof(IP_ADDR_STRING));
            }
            std::memcpy(place, list.data() + 1, further);
        }
        head = list[0];
        used_ += further;
    }

    BYTE* buffer_;
    std::size_t used_;
};

DWORD adapter_table(void* buffer, ULONG* size) {
    Network network;
    if (const int error = read_network(network)) {
        return static_cast<DWORD>(error);
    }
    keep_only(network.links, [](const NetworkLink& link) { return !link.loopback(); });
    if (network.links.empty()) {
        return ERROR_NO_DATA;
    }
    if (!fits(buffer, AdapterTable(nullptr, network).used(), size)) {
        return ERROR_BUFFER_OVERFLOW;
    }
    const AdapterTable table(buffer, network);
    return NO_ERROR;
}

} // namespace
} // namespace kalto

DWORD GetAdaptersInfo(PIP_ADAPTER_INFO pAdapterInfo, PULONG pOutBufLen) {
    if (pOutBufLen == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    return kalto::guarded_table([&] { return kalto::adapter_table(pAdapterInfo, pOutBufLen); });
}
