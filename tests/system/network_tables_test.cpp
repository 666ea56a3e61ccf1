// The three network tables: this machine's, and those of a network that the test chooses.
#include "scripted_kernel.h"

#include <gtest/gtest.h>
#include <iphlpapi.h>
#include <memory>
#include <net/if.h>
#include <net/if_arp.h>
#include <vector>

namespace {

constexpr ULONG kAllKinds = GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

// What the kernel answers for a network: its links, addresses and routes.
struct Answers {
    std::string links, addresses, routes;
};

std::string link(int index, const char* name, const char* hardware_address, unsigned short type,
                 unsigned flags) {
    ifinfomsg header = {};
    header.ifi_index = index;
    header.ifi_type = type;
    header.ifi_flags = flags;
    return NetlinkMessage(RTM_NEWLINK, 0, header)
        .attribute(IFLA_IFNAME, name)
        .attribute(IFLA_ADDRESS, hardware_address)
        .number(IFLA_MTU, 1280)
        .bytes();
}

std::string route(const char* gateway, unsigned metric) {
    return NetlinkMessage(RTM_NEWROUTE, 0, default_route())
        .attribute(RTA_GATEWAY, packed(gateway))
        .number(RTA_OIF, 50)
        .number(RTA_PRIORITY, metric)
        .bytes();
}

// Interface 50 comes before 40 in time and has two networks, and a second address in the first; interface 40
// has no IPv4 address.
Answers known_network() {
    const unsigned up = IFF_UP | IFF_RUNNING;
    return {link(50, "kalto1", "hw1", ARPHRD_ETHER, up) + link(40, "kalto0", "hw0", ARPHRD_ETHER, 0) +
                link(1, "lo", "", ARPHRD_LOOPBACK, up | IFF_LOOPBACK),
            address(50, "192.0.2.10", 24, IFA_F_PERMANENT).bytes() +
                address(50, "10.1.2.3", 30).attribute(IFA_BROADCAST, packed("10.1.2.200")).bytes() +
                address(50, "192.0.2.11", 24, IFA_F_PERMANENT | IFA_F_SECONDARY).bytes() +
                address(40, "2001:db8:1::5", 48).bytes() + address(40, "fe80::7", 64).bytes() +
                address(1, "127.0.0.1", 8, IFA_F_PERMANENT).bytes(),
            route("192.0.2.1", 200) + route("192.0.2.2", 100)};
}

// Owns a table in a block of exactly its size, so that the sanitizer sees a byte too many.
template <typename Record> struct Table {
    std::unique_ptr<char[]> block;
    DWORD result = 0;

    const Record* operator->() const { return get(); }
    const Record* get() const {
        return result == NO_ERROR ? reinterpret_cast<Record*>(block.get()) : nullptr;
    }
};

template <typename Record, typename Call>
Table<Record> read_table(const std::deque<Reply>& answers, Call call) {
    Table<Record> table;
    ULONG size = 0;
    script = answers;
    table.result = call(nullptr, &size);
    while (table.result == ERROR_INSUFFICIENT_BUFFER) {
        table.block = std::make_unique<char[]>(size);
        script = answers;
        table.result = call(reinterpret_cast<Record*>(table.block.get()), &size);
    }
    return table;
}

std::deque<Reply> replies(const Answers& answers) {
    return {{answers.links + done()}, {answers.addresses + done()}, {answers.routes + done()}};
}

Table<IP_ADAPTER_INFO> adapters_info(const Answers& answers = known_network()) {
    return read_table<IP_ADAPTER_INFO>(replies(answers), GetAdaptersInfo);
}

Table<MIB_IPADDRTABLE> address_table(BOOL order, const std::deque<Reply>& answers) {
    return read_table<MIB_IPADDRTABLE>(
        answers, [=](MIB_IPADDRTABLE* table, ULONG* size) { return GetIpAddrTable(table, size, order); });
}

Table<IP_ADAPTER_ADDRESSES> adapters_addresses(ULONG family, ULONG flags, const std::deque<Reply>& answers) {
    return read_table<IP_ADAPTER_ADDRESSES>(answers, [=](IP_ADAPTER_ADDRESSES* table, ULONG* size) {
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
    return inet_ntoa({static_cast<in_addr_t>(address)});
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

} // namespace

TEST(NetworkTables, TellWhatTheKernelOfThisMachineSays) {
    const auto table = adapters_addresses(AF_UNSPEC, kAllKinds, {});
    ASSERT_EQ(table.result, DWORD{NO_ERROR});
    EXPECT_EQ(table->IfIndex, if_nametoindex("lo"));
    EXPECT_STREQ(table->AdapterName, "lo");
    EXPECT_NE(list(table->FirstUnicastAddress).find("127.0.0.1 "), std::string::npos);
    EXPECT_NE(list(table->FirstMulticastAddress).find("224.0.0.1 "), std::string::npos);
}

TEST(NetworkTables, NeverWriteIntoABufferThatIsTooSmall) {
    const auto attempt = [](const char* name, const std::deque<Reply>& answers, auto call) {
        SCOPED_TRACE(name);
        EXPECT_EQ(call(nullptr, nullptr), DWORD{ERROR_INVALID_PARAMETER});
        ULONG needed = 0;
        script = answers;
        ASSERT_EQ(call(nullptr, &needed), DWORD{ERROR_INSUFFICIENT_BUFFER});
        std::vector<char> buffer(needed, '\x5A');
        ULONG size = needed - 1;
        script = answers;
        EXPECT_EQ(call(buffer.data(), &size), DWORD{ERROR_BUFFER_OVERFLOW});
        EXPECT_EQ(size, needed);
        EXPECT_EQ(buffer, std::vector<char>(needed, '\x5A'));
        size = needed + 1;
        buffer.resize(size);
        script = answers;
        EXPECT_EQ(call(buffer.data(), &size), DWORD{NO_ERROR});
        EXPECT_EQ(size, needed + 1);
    };
    const std::deque<Reply> answers = replies(known_network());
    attempt("GetAdaptersInfo", answers, [](void* buffer, ULONG* size) {
        return GetAdaptersInfo(static_cast<PIP_ADAPTER_INFO>(buffer), size);
    });
    attempt("GetIpAddrTable", {answers[1]}, [](void* buffer, ULONG* size) {
        return GetIpAddrTable(static_cast<PMIB_IPADDRTABLE>(buffer), size, TRUE);
    });
    attempt("GetAdaptersAddresses", answers, [](void* buffer, ULONG* size) {
        return GetAdaptersAddresses(AF_UNSPEC, kAllKinds, nullptr, static_cast<PIP_ADAPTER_ADDRESSES>(buffer),
                                    size);
    });
    ULONG size = 0;
    EXPECT_EQ(GetAdaptersAddresses(AF_UNIX, 0, nullptr, nullptr, &size), ULONG{ERROR_INVALID_PARAMETER});
}

TEST(NetworkTables, AreEmptyWithoutInterfacesOrAddresses) {
    const Answers bare = {link(1, "lo", "", ARPHRD_LOOPBACK, IFF_LOOPBACK), "", ""};
    EXPECT_EQ(address_table(FALSE, {{done()}}).result, DWORD{ERROR_NO_DATA});
    EXPECT_EQ(adapters_info(bare).result, DWORD{ERROR_NO_DATA});
    EXPECT_EQ(adapters_addresses(AF_INET, 0, replies(bare)).result, DWORD{ERROR_NO_DATA});
    const auto all = adapters_addresses(AF_UNSPEC, 0, replies(bare));
    ASSERT_EQ(all.result, DWORD{NO_ERROR});
    EXPECT_EQ(all->OperStatus, IfOperStatusDown);
    EXPECT_EQ(all->FirstUnicastAddress, nullptr);
}

TEST(KnownNetwork, FillsTheAdapterTable) {
    const auto table = adapters_info();
    ASSERT_EQ(table.result, DWORD{NO_ERROR});
    EXPECT_STREQ(table->AdapterName, "kalto0"); // the loopback interface is left out
    EXPECT_EQ(list(&table->IpAddressList), "0.0.0.0/0.0.0.0 ");
    EXPECT_EQ(list(&table->GatewayList), "0.0.0.0/0.0.0.0 ");
    const IP_ADAPTER_INFO* adapter = table->Next;
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->Next, nullptr);
    EXPECT_STREQ(adapter->Description, "kalto1");
    EXPECT_EQ(adapter->Index, 50u);
    EXPECT_EQ(adapter->Type, UINT{MIB_IF_TYPE_ETHERNET});
    ASSERT_EQ(adapter->AddressLength, 3u);
    EXPECT_EQ(memcmp(adapter->Address, "hw1", 3), 0);
    EXPECT_EQ(list(&adapter->IpAddressList),
              "192.0.2.10/255.255.255.0 10.1.2.3/255.255.255.252 192.0.2.11/255.255.255.0 ");
    EXPECT_EQ(list(&adapter->GatewayList), "192.0.2.2/255.255.255.255 192.0.2.1/255.255.255.255 ");
    EXPECT_EQ(adapter->CurrentIpAddress, &adapter->IpAddressList);
    EXPECT_STREQ(adapter->DhcpServer.IpAddress.String, "");
    EXPECT_EQ(adapter->DhcpEnabled, 0u);
}

TEST(KnownNetwork, FillsTheAddressTable) {
    const auto lines = [](BOOL order) {
        std::string result;
        const auto table = address_table(order, {replies(known_network())[1]});
        for (DWORD i = 0; table.get() != nullptr && i < table->dwNumEntries; ++i) {
            const MIB_IPADDRROW& row = table->table[i];
            result += std::to_string(row.dwIndex) + " " + text(row.dwAddr) + " " + text(row.dwMask) + " " +
                      text(row.dwBCastAddr) + " type " + std::to_string(row.wType) + "\n";
            EXPECT_EQ(row.dwReasmSize, 65535u);
        }
        return result;
    };
    EXPECT_EQ(lines(FALSE), "1 127.0.0.1 255.0.0.0 127.255.255.255 type 1\n"
                            "50 192.0.2.10 255.255.255.0 192.0.2.255 type 1\n"
                            "50 10.1.2.3 255.255.255.252 10.1.2.200 type 5\n"
                            "50 192.0.2.11 255.255.255.0 192.0.2.255 type 0\n");
    EXPECT_EQ(lines(TRUE), "50 10.1.2.3 255.255.255.252 10.1.2.200 type 5\n"
                           "1 127.0.0.1 255.0.0.0 127.255.255.255 type 1\n"
                           "50 192.0.2.10 255.255.255.0 192.0.2.255 type 1\n"
                           "50 192.0.2.11 255.255.255.0 192.0.2.255 type 0\n");
}

TEST(KnownNetwork, FillsTheListOfAddresses) {
    const auto table = adapters_addresses(AF_UNSPEC, kAllKinds, replies(known_network()));
    ASSERT_EQ(table.result, DWORD{NO_ERROR});
    const IP_ADAPTER_ADDRESSES* loopback = table.get();
    EXPECT_EQ(loopback->IfType, DWORD{IF_TYPE_SOFTWARE_LOOPBACK});
    EXPECT_EQ(loopback->OperStatus, IfOperStatusUp);
    EXPECT_EQ(list(loopback->FirstUnicastAddress), "127.0.0.1 ");
    EXPECT_EQ(loopback->FirstDnsServerAddress, nullptr);

    const IP_ADAPTER_ADDRESSES* ipv6 = loopback->Next;
    EXPECT_EQ(list(ipv6->FirstUnicastAddress), "2001:db8:1::5 fe80::7 ");
    EXPECT_EQ(list(ipv6->FirstPrefix), "2001:db8:1:: fe80:: ");
    EXPECT_EQ(ipv6->Ipv6IfIndex, 40u);
    const auto scope = [](const IP_ADAPTER_UNICAST_ADDRESS* entry) {
        return reinterpret_cast<const sockaddr_in6*>(entry->Address.lpSockaddr)->sin6_scope_id;
    };
    EXPECT_EQ(scope(ipv6->FirstUnicastAddress), 0u);
    EXPECT_EQ(scope(ipv6->FirstUnicastAddress->Next), 40u);
    EXPECT_EQ(ipv6->FirstUnicastAddress->Next->PrefixOrigin, IpPrefixOriginWellKnown);

    const IP_ADAPTER_ADDRESSES* adapter = ipv6->Next;
    EXPECT_EQ(adapter->Next, nullptr);
    EXPECT_STREQ(adapter->FriendlyName, L"kalto1");
    EXPECT_STREQ(adapter->Description, L"kalto1");
    EXPECT_STREQ(adapter->DnsSuffix, L"");
    EXPECT_EQ(adapter->Mtu, 1280u);
    EXPECT_EQ(memcmp(adapter->PhysicalAddress, "hw1", 3), 0);
    EXPECT_EQ(list(adapter->FirstUnicastAddress), "192.0.2.10 10.1.2.3 192.0.2.11 ");
    EXPECT_EQ(list(adapter->FirstPrefix), "192.0.2.0 10.1.2.0 192.0.2.0 ");
    EXPECT_EQ(list(adapter->FirstGatewayAddress), "192.0.2.2 192.0.2.1 ");
    EXPECT_EQ(adapter->Ipv4Metric, 100u);
    const IP_ADAPTER_UNICAST_ADDRESS* first = adapter->FirstUnicastAddress;
    EXPECT_EQ(first->OnLinkPrefixLength, 24);
    EXPECT_EQ(first->ValidLifetime, 0xFFFFFFFFu);
    EXPECT_EQ(first->PrefixOrigin, IpPrefixOriginManual);
    EXPECT_EQ(first->Next->PrefixOrigin, IpPrefixOriginDhcp);
    EXPECT_EQ(first->DadState, IpDadStatePreferred);
}

TEST(KnownNetwork, HonoursFamilyAndFlags) {
    const ULONG skip = GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_FRIENDLY_NAME | GAA_FLAG_SKIP_MULTICAST |
                       GAA_FLAG_SKIP_DNS_SERVER;
    const auto skipped = adapters_addresses(AF_INET, skip, replies(known_network()));
    ASSERT_EQ(skipped.result, DWORD{NO_ERROR});
    for (const IP_ADAPTER_ADDRESSES* adapter = skipped.get(); adapter != nullptr; adapter = adapter->Next) {
        EXPECT_EQ(adapter->FirstUnicastAddress, nullptr);
        EXPECT_EQ(adapter->FirstMulticastAddress, nullptr);
        EXPECT_EQ(adapter->FirstDnsServerAddress, nullptr);
        EXPECT_EQ(adapter->FirstPrefix, nullptr);
        EXPECT_EQ(adapter->FirstGatewayAddress, nullptr);
        EXPECT_EQ(adapter->FriendlyName, nullptr);
    }
    const auto ipv6 = adapters_addresses(AF_INET6, kAllKinds, replies(known_network()));
    EXPECT_EQ(list(ipv6->FirstUnicastAddress), "");
    EXPECT_EQ(list(ipv6->Next->FirstUnicastAddress), "2001:db8:1::5 fe80::7 ");
    EXPECT_EQ(list(ipv6->Next->Next->FirstUnicastAddress), "");
}
