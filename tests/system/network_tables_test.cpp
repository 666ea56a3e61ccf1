// The three network tables against what the kernel says on this machine, and against a network of known
// addresses.
#include "network_namespace.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <iphlpapi.h>
#include <linux/if_packet.h>
#include <memory>
#include <set>
#include <vector>

namespace {

constexpr ULONG kAllKinds = GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

// Owns a table in a block of exactly its size, so that the sanitizer sees a byte too many.
template <typename Record> struct Table {
    std::unique_ptr<char[]> block;
    DWORD result = 0;

    const Record* operator->() const { return get(); }
    const Record* get() const {
        return result == NO_ERROR ? reinterpret_cast<Record*>(block.get()) : nullptr;
    }
};

template <typename Record, typename Call> Table<Record> read_table(Call call) {
    Table<Record> table;
    ULONG size = 0;
    table.result = call(nullptr, &size);
    while (table.result == ERROR_INSUFFICIENT_BUFFER) {
        table.block = std::make_unique<char[]>(size);
        table.result = call(reinterpret_cast<Record*>(table.block.get()), &size);
    }
    return table;
}

Table<IP_ADAPTER_INFO> adapters_info() {
    return read_table<IP_ADAPTER_INFO>(GetAdaptersInfo);
}

Table<MIB_IPADDRTABLE> address_table(BOOL order = FALSE) {
    return read_table<MIB_IPADDRTABLE>(
        [=](MIB_IPADDRTABLE* table, ULONG* size) { return GetIpAddrTable(table, size, order); });
}

Table<IP_ADAPTER_ADDRESSES> adapters_addresses(ULONG family = AF_UNSPEC, ULONG flags = kAllKinds) {
    return read_table<IP_ADAPTER_ADDRESSES>([=](IP_ADAPTER_ADDRESSES* table, ULONG* size) {
        return GetAdaptersAddresses(family, flags, nullptr, table, size);
    });
}

std::string text(const sockaddr* address) {
    char buffer[INET6_ADDRSTRLEN] = "";
    const void* bytes =
        address->sa_family == AF_INET
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
            : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    inet_ntop(address->sa_family, bytes, buffer, sizeof buffer);
    return buffer;
}

std::string text(DWORD address) {
    sockaddr_in place = {};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = static_cast<in_addr_t>(address);
    return text(reinterpret_cast<const sockaddr*>(&place));
}

// What a list holds, as "address address ".
template <typename Entry> std::string list(const Entry* entry) {
    std::string result;
    for (; entry != nullptr; entry = entry->Next) {
        EXPECT_EQ(entry->Length, sizeof *entry);
        result += text(entry->Address.lpSockaddr) + " ";
    }
    return result;
}

std::string list(const IP_ADDR_STRING* entry) {
    std::string result;
    for (; entry != nullptr; entry = entry->Next) {
        result += std::string(entry->IpAddress.String) + "/" + entry->IpMask.String + " ";
    }
    return result;
}

const IP_ADAPTER_ADDRESSES* find(const Table<IP_ADAPTER_ADDRESSES>& table, DWORD index) {
    const IP_ADAPTER_ADDRESSES* adapter = table.get();
    while (adapter != nullptr && adapter->IfIndex != index) {
        adapter = adapter->Next;
    }
    return adapter;
}

// Every entry of getifaddrs as "family index address", the index standing for the name without its label.
std::multiset<std::string> kernel_addresses() {
    std::multiset<std::string> result;
    ifaddrs* first = nullptr;
    EXPECT_EQ(getifaddrs(&first), 0);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family != AF_PACKET) {
            std::string name = entry->ifa_name;
            name.resize(std::min(name.find(':'), name.size()));
            result.insert(std::to_string(if_nametoindex(name.c_str())) + " " + text(entry->ifa_addr));
        }
    }
    freeifaddrs(first);
    return result;
}

} // namespace

TEST(NetworkTables, TellTheSameAddressesAsTheKernel) {
    std::multiset<std::string> listed;
    std::multiset<std::string> rows;
    const auto table = adapters_addresses();
    ASSERT_EQ(table.result, DWORD{NO_ERROR});
    for (const IP_ADAPTER_ADDRESSES* adapter = table.get(); adapter != nullptr; adapter = adapter->Next) {
        char name[IF_NAMESIZE] = "";
        EXPECT_STREQ(adapter->AdapterName, if_indextoname(static_cast<unsigned>(adapter->IfIndex), name));
        EXPECT_TRUE(adapter->Next == nullptr || adapter->Next->IfIndex > adapter->IfIndex);
        const auto* entry = adapter->FirstUnicastAddress;
        for (; entry != nullptr; entry = entry->Next) {
            const std::string line = std::to_string(adapter->IfIndex) + " " + text(entry->Address.lpSockaddr);
            listed.insert(line);
            if (entry->Address.lpSockaddr->sa_family == AF_INET) {
                rows.insert(line);
            }
        }
    }
    EXPECT_EQ(listed, kernel_addresses());

    const auto by_row = address_table();
    std::multiset<std::string> found;
    for (DWORD i = 0; by_row.get() != nullptr && i < by_row->dwNumEntries; ++i) {
        found.insert(std::to_string(by_row->table[i].dwIndex) + " " + text(by_row->table[i].dwAddr));
    }
    EXPECT_EQ(found, rows);
}

TEST(NetworkTables, NeverWriteIntoABufferThatIsTooSmall) {
    const auto attempt = [](const char* name, auto call) {
        SCOPED_TRACE(name);
        EXPECT_EQ(call(nullptr, nullptr), DWORD{ERROR_INVALID_PARAMETER});
        ULONG needed = 0;
        const DWORD first = call(nullptr, &needed);
        if (first == ERROR_NO_DATA) {
            return;
        }
        ASSERT_EQ(first, DWORD{ERROR_INSUFFICIENT_BUFFER});
        ASSERT_GT(needed, 1u);
        std::vector<char> buffer(needed, '\x5A');
        ULONG size = needed - 1;
        EXPECT_EQ(call(buffer.data(), &size), DWORD{ERROR_BUFFER_OVERFLOW});
        EXPECT_EQ(size, needed);
        EXPECT_EQ(std::count(buffer.begin(), buffer.end(), '\x5A'), static_cast<std::ptrdiff_t>(needed));
        size = needed + 1;
        buffer.resize(size);
        EXPECT_EQ(call(buffer.data(), &size), DWORD{NO_ERROR});
        EXPECT_EQ(size, needed + 1);
    };
    attempt("GetAdaptersInfo", [](void* buffer, ULONG* size) {
        return GetAdaptersInfo(static_cast<PIP_ADAPTER_INFO>(buffer), size);
    });
    attempt("GetIpAddrTable", [](void* buffer, ULONG* size) {
        return GetIpAddrTable(static_cast<PMIB_IPADDRTABLE>(buffer), size, TRUE);
    });
    attempt("GetAdaptersAddresses", [](void* buffer, ULONG* size) {
        return GetAdaptersAddresses(AF_UNSPEC, kAllKinds, nullptr, static_cast<PIP_ADAPTER_ADDRESSES>(buffer),
                                    size);
    });
    ULONG size = 0;
    EXPECT_EQ(GetAdaptersAddresses(AF_UNIX, 0, nullptr, nullptr, &size), ULONG{ERROR_INVALID_PARAMETER});
}

TEST(NetworkTables, AreEmptyWithoutInterfacesOrAddresses) {
    if (const int error = enter_own_network()) {
        GTEST_SKIP() << "no network namespace of our own here: " << strerror(error);
    }
    EXPECT_EQ(address_table().result, DWORD{ERROR_NO_DATA});
    EXPECT_EQ(adapters_addresses(AF_INET).result, DWORD{ERROR_NO_DATA});
    const auto all = adapters_addresses();
    ASSERT_EQ(all.result, DWORD{NO_ERROR});
    EXPECT_STREQ(all->AdapterName, "lo");
    EXPECT_EQ(all->OperStatus, IfOperStatusDown);
    EXPECT_EQ(all->FirstUnicastAddress, nullptr);
    if (all->Next == nullptr) { // some kernels put tunnels into every namespace
        EXPECT_EQ(adapters_info().result, DWORD{ERROR_NO_DATA});
    }
}

// Interface 50 comes before 40 in time and has two networks, a second address in the first, and a label;
// interface 40 has no IPv4 address.
class KnownNetwork : public ::testing::Test {
  protected:
    void SetUp() override {
        int error = enter_own_network();
        if (error != 0) {
            GTEST_SKIP() << "no network namespace of our own here: " << strerror(error);
        }
        error = add_interface(50, "kalto1", std::string("\x02\x00\x5E\x10\x20\x30", 6), 1280);
        if (error == 0) {
            error = add_interface(40, "kalto0", std::string("\x02\x00\x5E\x11\x21\x31", 6), 9000);
        }
        if (error != 0) {
            GTEST_SKIP() << "no interface can be made in the namespace here: " << strerror(error);
        }
        ASSERT_EQ(activate(1), 0);
        ASSERT_EQ(add_address(50, AF_INET, "192.0.2.10", 24, "192.0.2.255"), 0);
        ASSERT_EQ(add_address(50, AF_INET, "192.0.2.11", 24, nullptr, "oddlabel"), 0);
        ASSERT_EQ(add_address(50, AF_INET, "10.1.2.3", 30, "10.1.2.200"), 0);
        ipv6_ = add_address(40, AF_INET6, "2001:db8:1::5", 48) == 0;
        ASSERT_EQ(add_default_route(50, AF_INET, "192.0.2.1", 200), 0);
        ASSERT_EQ(add_default_route(50, AF_INET, "192.0.2.2", 100), 0);
    }

    bool ipv6_ = false;
};

TEST_F(KnownNetwork, FillsTheAdapterTable) {
    const auto table = adapters_info();
    ASSERT_EQ(table.result, DWORD{NO_ERROR});
    const IP_ADAPTER_INFO* adapter = table.get();
    while (adapter != nullptr && adapter->Index != 40) {
        EXPECT_STRNE(adapter->AdapterName, "lo");
        adapter = adapter->Next;
    }
    ASSERT_NE(adapter, nullptr);
    EXPECT_STREQ(adapter->AdapterName, "kalto0");
    EXPECT_EQ(list(&adapter->IpAddressList), "0.0.0.0/0.0.0.0 ");
    EXPECT_EQ(list(&adapter->GatewayList), "0.0.0.0/0.0.0.0 ");

    adapter = adapter->Next;
    while (adapter != nullptr && adapter->Index != 50) {
        adapter = adapter->Next;
    }
    ASSERT_NE(adapter, nullptr);
    EXPECT_STREQ(adapter->Description, "kalto1");
    EXPECT_EQ(adapter->Type, UINT{MIB_IF_TYPE_ETHERNET});
    ASSERT_EQ(adapter->AddressLength, 6u);
    EXPECT_EQ(memcmp(adapter->Address, "\x02\x00\x5E\x10\x20\x30", 6), 0);
    EXPECT_EQ(list(&adapter->IpAddressList),
              "192.0.2.10/255.255.255.0 10.1.2.3/255.255.255.252 192.0.2.11/255.255.255.0 ");
    EXPECT_EQ(list(&adapter->GatewayList), "192.0.2.2/255.255.255.255 192.0.2.1/255.255.255.255 ");
    EXPECT_EQ(adapter->CurrentIpAddress, &adapter->IpAddressList);
    EXPECT_STREQ(adapter->DhcpServer.IpAddress.String, "");
    EXPECT_EQ(adapter->DhcpEnabled, 0u);
}

TEST_F(KnownNetwork, FillsTheAddressTable) {
    const auto lines = [](BOOL order) {
        std::string result;
        const auto table = address_table(order);
        for (DWORD i = 0; table.get() != nullptr && i < table->dwNumEntries; ++i) {
            const MIB_IPADDRROW& row = table->table[i];
            result += std::to_string(row.dwIndex) + " " + text(row.dwAddr) + " " + text(row.dwMask) + " " +
                      text(row.dwBCastAddr) + (row.wType == MIB_IPADDR_PRIMARY ? " first\n" : "\n");
            EXPECT_EQ(row.dwReasmSize, 65535u);
        }
        return result;
    };
    EXPECT_EQ(lines(FALSE), "1 127.0.0.1 255.0.0.0 127.255.255.255 first\n"
                            "50 192.0.2.10 255.255.255.0 192.0.2.255 first\n"
                            "50 10.1.2.3 255.255.255.252 10.1.2.200 first\n"
                            "50 192.0.2.11 255.255.255.0 192.0.2.255\n");
    EXPECT_EQ(lines(TRUE), "50 10.1.2.3 255.255.255.252 10.1.2.200 first\n"
                           "1 127.0.0.1 255.0.0.0 127.255.255.255 first\n"
                           "50 192.0.2.10 255.255.255.0 192.0.2.255 first\n"
                           "50 192.0.2.11 255.255.255.0 192.0.2.255\n");
}

TEST_F(KnownNetwork, FillsTheListOfAddresses) {
    const auto table = adapters_addresses(AF_INET);
    const IP_ADAPTER_ADDRESSES* loopback = find(table, 1);
    const IP_ADAPTER_ADDRESSES* adapter = find(table, 50);
    ASSERT_TRUE(loopback != nullptr && adapter != nullptr && find(table, 40) != nullptr);
    EXPECT_EQ(loopback->IfType, DWORD{IF_TYPE_SOFTWARE_LOOPBACK});
    EXPECT_EQ(loopback->OperStatus, IfOperStatusUp);
    EXPECT_EQ(list(loopback->FirstUnicastAddress), "127.0.0.1 ");
    EXPECT_EQ(list(find(table, 40)->FirstUnicastAddress), "");
    EXPECT_EQ(list(loopback->FirstMulticastAddress), "224.0.0.1 ");
    EXPECT_EQ(loopback->FirstDnsServerAddress, nullptr);

    EXPECT_STREQ(adapter->FriendlyName, L"kalto1");
    EXPECT_STREQ(adapter->Description, L"kalto1");
    EXPECT_STREQ(adapter->DnsSuffix, L"");
    EXPECT_EQ(adapter->Mtu, 1280u);
    EXPECT_EQ(memcmp(adapter->PhysicalAddress, "\x02\x00\x5E\x10\x20\x30", 6), 0);
    EXPECT_EQ(list(adapter->FirstUnicastAddress), "192.0.2.10 10.1.2.3 192.0.2.11 ");
    EXPECT_EQ(list(adapter->FirstPrefix), "192.0.2.0 10.1.2.0 192.0.2.0 ");
    EXPECT_EQ(list(adapter->FirstGatewayAddress), "192.0.2.2 192.0.2.1 ");
    EXPECT_EQ(adapter->Ipv4Metric, 100u);
    const IP_ADAPTER_UNICAST_ADDRESS* first = adapter->FirstUnicastAddress;
    EXPECT_EQ(first->OnLinkPrefixLength, 24);
    EXPECT_EQ(first->ValidLifetime, 0xFFFFFFFFu);
    EXPECT_EQ(first->PrefixOrigin, IpPrefixOriginManual);
    EXPECT_EQ(first->DadState, IpDadStatePreferred);
}

TEST_F(KnownNetwork, HonoursFamilyAndFlags) {
    const auto skipped = adapters_addresses(AF_INET, GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_FRIENDLY_NAME |
                                                         GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER);
    const IP_ADAPTER_ADDRESSES* adapter = find(skipped, 50);
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->FirstUnicastAddress, nullptr);
    EXPECT_EQ(adapter->FirstMulticastAddress, nullptr);
    EXPECT_EQ(adapter->FirstDnsServerAddress, nullptr);
    EXPECT_EQ(adapter->FirstPrefix, nullptr);
    EXPECT_EQ(adapter->FirstGatewayAddress, nullptr);
    EXPECT_EQ(adapter->FriendlyName, nullptr);
    if (!ipv6_) {
        GTEST_SKIP() << "the IPv4 half passed; no IPv6 here";
    }
    const auto ipv6 = adapters_addresses(AF_INET6);
    adapter = find(ipv6, 40);
    ASSERT_NE(adapter, nullptr);
    const IP_ADAPTER_UNICAST_ADDRESS* address = adapter->FirstUnicastAddress;
    std::set<std::string> found;
    for (; address != nullptr; address = address->Next) {
        const auto* place = reinterpret_cast<const sockaddr_in6*>(address->Address.lpSockaddr);
        const bool link_local = address->PrefixOrigin == IpPrefixOriginWellKnown;
        EXPECT_EQ(place->sin6_scope_id, link_local ? 40u : 0u);
        found.insert(text(address->Address.lpSockaddr));
    }
    EXPECT_EQ(found.count("2001:db8:1::5"), 1u);
    EXPECT_EQ(adapter->Ipv6IfIndex, 40u);
    EXPECT_NE(list(adapter->FirstPrefix).find("2001:db8:1:: "), std::string::npos);
    const auto both = adapters_addresses();
    EXPECT_NE(list(find(both, 40)->FirstUnicastAddress).find("2001:db8:1::5 "), std::string::npos);
    EXPECT_NE(list(find(both, 50)->FirstUnicastAddress).find("192.0.2.10 "), std::string::npos);
}
