// The three network tables: this machine's, and those of a network that the test chooses.
#include "scripted_kernel.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <vector>

namespace {

std::string link(int index, const char* name, unsigned short type, unsigned flags) {
    ifinfomsg header = {};
    header.ifi_index = index;
    header.ifi_type = type;
    header.ifi_flags = flags;
    return NetlinkMessage(RTM_NEWLINK, header)
        .attribute(IFLA_IFNAME, name)
        .attribute(IFLA_ADDRESS, "hw" + std::to_string(index))
        .number(IFLA_MTU, 1280)
        .bytes();
}

std::string route(const char* gateway, unsigned metric) {
    return NetlinkMessage(RTM_NEWROUTE, default_route())
        .attribute(RTA_GATEWAY, packed(gateway))
        .number(RTA_OIF, 50)
        .number(RTA_PRIORITY, metric)
        .bytes();
}

// What the kernel answers for a network: its links, addresses and routes. Interface 50 comes before 40 in
// time and has two networks, and a second address in the first; interface 40 has no IPv4 address.
std::deque<Reply> known_network() {
    const unsigned up = IFF_UP | IFF_RUNNING;
    return {{link(50, "kalto1", ARPHRD_ETHER, up) + link(40, "kalto0", ARPHRD_ETHER, 0) +
             link(1, "lo", ARPHRD_LOOPBACK, up | IFF_LOOPBACK) + done()},
            {address(50, "192.0.2.10", 24, IFA_F_PERMANENT).bytes() +
             address(50, "10.1.2.3", 30).attribute(IFA_BROADCAST, packed("10.1.2.200")).bytes() +
             address(50, "192.0.2.11", 24, IFA_F_PERMANENT | IFA_F_SECONDARY).bytes() +
             address(40, "2001:db8:1::5", 48).bytes() + address(40, "fe80::7", 64).bytes() +
             address(1, "127.0.0.1", 8, IFA_F_PERMANENT).bytes() + done()},
            {route("192.0.2.1", 200) + route("192.0.2.2", 100) + done()}};
}

alignas(std::max_align_t) char buffer[1 << 16];

// The adapter that the call of a buffer and its size stores first; null for a failure.
template <typename Record, typename Call>
const Record* first_of(const std::deque<Reply>& answers, Call call) {
    script = answers;
    ULONG size = sizeof buffer;
    auto* record = reinterpret_cast<Record*>(buffer);
    return call(record, &size) == NO_ERROR ? record : nullptr;
}

const IP_ADAPTER_ADDRESSES* adapters_addresses(ULONG family, ULONG flags,
                                               const std::deque<Reply>& answers = known_network()) {
    return first_of<IP_ADAPTER_ADDRESSES>(answers, [=](IP_ADAPTER_ADDRESSES* first, ULONG* size) {
        return GetAdaptersAddresses(family, flags, nullptr, first, size);
    });
}

std::string text(const SOCKET_ADDRESS& address) {
    char result[INET6_ADDRSTRLEN] = "";
    const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(address.lpSockaddr);
    const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address.lpSockaddr);
    const void* bytes =
        ipv4->sin_family == AF_INET ? static_cast<const void*>(&ipv4->sin_addr) : &ipv6->sin6_addr;
    inet_ntop(ipv4->sin_family, bytes, result, sizeof result);
    return result;
}

// What a list holds, as "address address ".
template <typename Entry> std::string list(const Entry* entry) {
    std::string result;
    for (; entry != nullptr; entry = entry->Next) {
        EXPECT_EQ(entry->Length, sizeof *entry);
        result += text(entry->Address) + " ";
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

TEST(NetworkTables, TellWhatTheKernelOfThisMachineSays) {
    const auto* loopback = adapters_addresses(AF_UNSPEC, kAllKinds, {});
    ASSERT_NE(loopback, nullptr);
    EXPECT_EQ(loopback->IfIndex, if_nametoindex("lo"));
    EXPECT_STREQ(loopback->AdapterName, "lo");
    EXPECT_NE(list(loopback->FirstUnicastAddress).find("127.0.0.1 "), std::string::npos);
    EXPECT_NE(list(loopback->FirstMulticastAddress).find("224.0.0.1 "), std::string::npos);
}

TEST(NetworkTables, NeverWriteIntoABufferThatIsTooSmall) {
    for (const TableCall& call : kTableCalls) {
        std::deque<Reply> answers = known_network();
        if (&call == kTableCalls) // which asks for the addresses alone
            answers = {answers[1]};
        EXPECT_EQ(call(nullptr, nullptr), DWORD{ERROR_INVALID_PARAMETER});
        ULONG needed = 0;
        script = answers;
        ASSERT_EQ(call(nullptr, &needed), DWORD{ERROR_INSUFFICIENT_BUFFER});
        std::vector<char> block(needed, '\x5A'); // of exactly that size: the sanitizer sees a byte too many
        ULONG size = needed - 1;
        script = answers;
        EXPECT_EQ(call(block.data(), &size), DWORD{ERROR_BUFFER_OVERFLOW});
        EXPECT_EQ(size, needed);
        EXPECT_EQ(block, std::vector<char>(needed, '\x5A'));
        script = answers;
        EXPECT_EQ(call(block.data(), &size), DWORD{NO_ERROR});
        EXPECT_EQ(size, needed);
    }
    ULONG size = 0;
    EXPECT_EQ(GetAdaptersAddresses(AF_UNIX, 0, nullptr, nullptr, &size), ULONG{ERROR_INVALID_PARAMETER});
}

TEST(NetworkTables, AreEmptyWithoutInterfacesOrAddresses) {
    const std::deque<Reply> bare = {
        {link(1, "lo", ARPHRD_LOOPBACK, IFF_LOOPBACK) + done()}, {done()}, {done()}};
    ULONG size = 0;
    script = {{done()}};
    EXPECT_EQ(GetIpAddrTable(nullptr, &size, FALSE), DWORD{ERROR_NO_DATA});
    script = bare;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &size), DWORD{ERROR_NO_DATA});
    script = bare;
    EXPECT_EQ(GetAdaptersAddresses(AF_INET, 0, nullptr, nullptr, &size), ULONG{ERROR_NO_DATA});
    const auto* all = adapters_addresses(AF_UNSPEC, 0, bare);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->OperStatus, IfOperStatusDown);
    EXPECT_EQ(all->FirstUnicastAddress, nullptr);
}

TEST(KnownNetwork, FillsTheAdapterTable) {
    const auto* bare = first_of<IP_ADAPTER_INFO>(known_network(), GetAdaptersInfo);
    ASSERT_NE(bare, nullptr);
    EXPECT_STREQ(bare->AdapterName, "kalto0"); // the loopback interface is left out
    EXPECT_EQ(list(&bare->IpAddressList) + list(&bare->GatewayList), "0.0.0.0/0.0.0.0 0.0.0.0/0.0.0.0 ");
    const IP_ADAPTER_INFO* adapter = bare->Next;
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->Next, nullptr);
    EXPECT_STREQ(adapter->Description, "kalto1");
    EXPECT_EQ(adapter->Index, 50u);
    EXPECT_EQ(adapter->Type, UINT{MIB_IF_TYPE_ETHERNET});
    EXPECT_EQ(std::string(adapter->Address, adapter->Address + adapter->AddressLength), "hw50");
    EXPECT_EQ(list(&adapter->IpAddressList),
              "192.0.2.10/255.255.255.0 10.1.2.3/255.255.255.252 192.0.2.11/255.255.255.0 ");
    EXPECT_EQ(list(&adapter->GatewayList), "192.0.2.2/255.255.255.255 192.0.2.1/255.255.255.255 ");
    EXPECT_EQ(adapter->CurrentIpAddress, &adapter->IpAddressList);
    EXPECT_EQ(list(&adapter->DhcpServer), "/ ");
    EXPECT_EQ(adapter->DhcpEnabled, 0u);
}

TEST(KnownNetwork, FillsTheAddressTable) {
    const auto address_text = [](DWORD address) {
        return std::string(inet_ntoa({static_cast<in_addr_t>(address)})) + " ";
    };
    const auto lines = [&](BOOL order) {
        const auto* table =
            first_of<MIB_IPADDRTABLE>({known_network()[1]}, [=](MIB_IPADDRTABLE* first, ULONG* size) {
                return GetIpAddrTable(first, size, order);
            });
        std::string result;
        for (DWORD i = 0; table != nullptr && i < table->dwNumEntries; ++i) {
            const MIB_IPADDRROW& row = table->table[i];
            result += std::to_string(row.dwIndex) + " " + address_text(row.dwAddr) +
                      address_text(row.dwMask) + address_text(row.dwBCastAddr) + "type " +
                      std::to_string(row.wType) + "\n";
            EXPECT_EQ(row.dwReasmSize, 65535u);
        }
        return result;
    };
    const std::string dynamic = "50 10.1.2.3 255.255.255.252 10.1.2.200 type 5\n",
                      local = "1 127.0.0.1 255.0.0.0 127.255.255.255 type 1\n",
                      primary = "50 192.0.2.10 255.255.255.0 192.0.2.255 type 1\n",
                      secondary = "50 192.0.2.11 255.255.255.0 192.0.2.255 type 0\n";
    EXPECT_EQ(lines(FALSE), local + primary + dynamic + secondary);
    EXPECT_EQ(lines(TRUE), dynamic + local + primary + secondary);
}

TEST(KnownNetwork, FillsTheListOfAddresses) {
    const auto* loopback = adapters_addresses(AF_UNSPEC, kAllKinds);
    ASSERT_NE(loopback, nullptr);
    EXPECT_EQ(loopback->IfType, DWORD{IF_TYPE_SOFTWARE_LOOPBACK});
    EXPECT_EQ(loopback->OperStatus, IfOperStatusUp);
    EXPECT_EQ(list(loopback->FirstUnicastAddress), "127.0.0.1 ");
    EXPECT_EQ(loopback->FirstDnsServerAddress, nullptr);

    const IP_ADAPTER_ADDRESSES* ipv6 = loopback->Next;
    EXPECT_EQ(list(ipv6->FirstUnicastAddress), "2001:db8:1::5 fe80::7 ");
    EXPECT_EQ(list(ipv6->FirstPrefix), "2001:db8:1:: fe80:: ");
    EXPECT_EQ(ipv6->Ipv6IfIndex, 40u);
    const IP_ADAPTER_UNICAST_ADDRESS *global = ipv6->FirstUnicastAddress, *link_local = global->Next;
    EXPECT_EQ(reinterpret_cast<sockaddr_in6*>(global->Address.lpSockaddr)->sin6_scope_id, 0u);
    EXPECT_EQ(reinterpret_cast<sockaddr_in6*>(link_local->Address.lpSockaddr)->sin6_scope_id, 40u);
    EXPECT_EQ(link_local->PrefixOrigin, IpPrefixOriginWellKnown);

    const IP_ADAPTER_ADDRESSES* adapter = ipv6->Next;
    EXPECT_EQ(adapter->Next, nullptr);
    EXPECT_EQ(std::wstring(adapter->FriendlyName) + adapter->DnsSuffix, adapter->Description);
    EXPECT_STREQ(adapter->Description, L"kalto1");
    EXPECT_EQ(adapter->Mtu, 1280u);
    EXPECT_EQ(memcmp(adapter->PhysicalAddress, "hw50", 4), 0);
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
    const auto* adapter = adapters_addresses(AF_INET, skip);
    ASSERT_NE(adapter, nullptr);
    for (; adapter != nullptr; adapter = adapter->Next) {
        EXPECT_EQ(list(adapter->FirstUnicastAddress) + list(adapter->FirstMulticastAddress), "");
        EXPECT_EQ(list(adapter->FirstDnsServerAddress) + list(adapter->FirstPrefix), "");
        EXPECT_EQ(adapter->FirstGatewayAddress, nullptr);
        EXPECT_EQ(adapter->FriendlyName, nullptr);
    }
    const auto* ipv6 = adapters_addresses(AF_INET6, kAllKinds);
    ASSERT_NE(ipv6, nullptr);
    EXPECT_EQ(list(ipv6->FirstUnicastAddress) + list(ipv6->Next->Next->FirstUnicastAddress), "");
    EXPECT_EQ(list(ipv6->Next->FirstUnicastAddress), "2001:db8:1::5 fe80::7 ");
}

} // namespace
