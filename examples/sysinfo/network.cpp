// The network part of the report: adapters, their addresses, and the address table.
#include <iphlpapi.h>
#include <windows.h>

#include <arpa/inet.h>
#include <cstdio>
#include <vector>

#include "sysinfo.h"

namespace {

// Asks for a table until it fits, and leaves the vector empty when there is none.
template <typename Ask> DWORD ReadTable(std::vector<ULONGLONG>& table, Ask ask) {
    DWORD result = NO_ERROR;
    do {
        ULONG size = ULONG(table.size() * sizeof(table[0]));
        result = ask(table.data(), &size);
        if (result == ERROR_BUFFER_OVERFLOW)
            table.resize(size / sizeof(table[0]) + 1);
    } while (result == ERROR_BUFFER_OVERFLOW);
    return result;
}

void PrintFailure(DWORD result) {
    if (result == ERROR_NO_DATA)
        printf("  none\n");
    else if (result != NO_ERROR)
        printf("  not told (error %u)\n", unsigned(result));
}

const char* Kind(DWORD type) {
    switch (type) {
    case IF_TYPE_ETHERNET_CSMACD:
        return "Ethernet";
    case IF_TYPE_SOFTWARE_LOOPBACK:
        return "loopback";
    case IF_TYPE_PPP:
        return "PPP";
    case IF_TYPE_TUNNEL:
        return "tunnel";
    default:
        return "other";
    }
}

void PrintHardwareAddress(const BYTE* address, DWORD length) {
    for (DWORD i = 0; i < length; ++i)
        printf("%s%02X", i == 0 ? "" : "-", address[i]);
}

void PrintAddress(const SOCKET_ADDRESS& address) {
    char text[INET6_ADDRSTRLEN] = "?";
    if (address.lpSockaddr->sa_family == AF_INET) {
        sockaddr_in place = *reinterpret_cast<const sockaddr_in*>(address.lpSockaddr);
        inet_ntop(AF_INET, &place.sin_addr, text, sizeof(text));
    } else {
        sockaddr_in6 place = *reinterpret_cast<const sockaddr_in6*>(address.lpSockaddr);
        inet_ntop(AF_INET6, &place.sin6_addr, text, sizeof(text));
    }
    printf("%s", text);
}

template <typename Entry> void PrintList(const char* what, const Entry* entry) {
    for (; entry != nullptr; entry = entry->Next) {
        printf("    %-15s ", what);
        PrintAddress(entry->Address);
        printf("\n");
    }
}

void PrintAdapter(const IP_ADAPTER_ADDRESSES& adapter) {
    printf("  %u %ls: %s, %s, MTU %u, ", unsigned(adapter.IfIndex), adapter.FriendlyName,
           Kind(adapter.IfType), adapter.OperStatus == IfOperStatusUp ? "up" : "down", unsigned(adapter.Mtu));
    PrintHardwareAddress(adapter.PhysicalAddress, adapter.PhysicalAddressLength);
    printf("\n");
    for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry; entry = entry->Next) {
        printf("    %-15s ", "address");
        PrintAddress(entry->Address);
        printf("/%u\n", unsigned(entry->OnLinkPrefixLength));
    }
    PrintList("gateway", adapter.FirstGatewayAddress);
    PrintList("name server", adapter.FirstDnsServerAddress);
    PrintList("multicast group", adapter.FirstMulticastAddress);
}

void PrintAdapters() {
    std::vector<ULONGLONG> table;
    DWORD result = ReadTable(table, [](void* buffer, ULONG* size) {
        return GetAdaptersAddresses(AF_UNSPEC, GAA_FLAG_INCLUDE_GATEWAYS, nullptr,
                                    static_cast<PIP_ADAPTER_ADDRESSES>(buffer), size);
    });
    Headline("Adapters and addresses");
    PrintFailure(result);
    if (result != NO_ERROR)
        return;
    for (auto* adapter = reinterpret_cast<PIP_ADAPTER_ADDRESSES>(table.data()); adapter;
         adapter = adapter->Next)
        PrintAdapter(*adapter);
}

// As an application sees them that looks for the device's hardware address.
void PrintAdapterInfo() {
    std::vector<ULONGLONG> table;
    DWORD result = ReadTable(table, [](void* buffer, ULONG* size) {
        return GetAdaptersInfo(static_cast<PIP_ADAPTER_INFO>(buffer), size);
    });
    Headline("Adapters for IPv4");
    PrintFailure(result);
    if (result != NO_ERROR)
        return;
    for (auto* adapter = reinterpret_cast<PIP_ADAPTER_INFO>(table.data()); adapter; adapter = adapter->Next) {
        printf("  %s ", adapter->AdapterName);
        PrintHardwareAddress(adapter->Address, adapter->AddressLength);
        printf(" %s mask %s gateway %s\n", adapter->IpAddressList.IpAddress.String,
               adapter->IpAddressList.IpMask.String, adapter->GatewayList.IpAddress.String);
    }
}

void PrintAddressTable() {
    std::vector<ULONGLONG> block;
    DWORD result = ReadTable(block, [](void* buffer, ULONG* size) {
        return GetIpAddrTable(static_cast<PMIB_IPADDRTABLE>(buffer), size, TRUE);
    });
    Headline("IPv4 addresses in order");
    PrintFailure(result);
    if (result != NO_ERROR)
        return;
    const auto* table = reinterpret_cast<PMIB_IPADDRTABLE>(block.data());
    for (DWORD i = 0; i < table->dwNumEntries; ++i) {
        const MIB_IPADDRROW& row = table->table[i];
        char text[3][INET_ADDRSTRLEN];
        const DWORD values[3] = {row.dwAddr, row.dwMask, row.dwBCastAddr};
        for (int j = 0; j < 3; ++j)
            inet_ntop(AF_INET, &values[j], text[j], sizeof(text[j]));
        printf("  %s mask %s broadcast %s on %u\n", text[0], text[1], text[2], unsigned(row.dwIndex));
    }
}

} // namespace

void PrintNetwork() {
    PrintAdapters();
    PrintAdapterInfo();
    PrintAddressTable();
}
