// The three network tables: this machine's, and those of a network that the test chooses.
#include "scripted_kernel.h"
#include "system/network.h"

#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <set>
#include <tuple>

namespace {

std::string link(int index, const std::string& name, unsigned short type, unsigned flags,
                 const std::string& hardware) {
    const ifinfomsg header = {AF_UNSPEC, 0, type, index, flags, 0};
    return message(RTM_NEWLINK, header,
                   attribute(IFLA_IFNAME, name) + attribute(IFLA_ADDRESS, hardware) + number(IFLA_MTU, 1280));
}

std::string hop(int index, const char* gateway) {
    const rtnexthop header = {sizeof header + RTA_LENGTH(4), 0, 0, index};
    return bytes_of(header) + attribute(RTA_GATEWAY, packed(gateway));
}

// The main table's gateway for everything, but for what is given.
std::string route(const std::string& attributes, unsigned char destination_length = 0,
                  unsigned char table = RT_TABLE_MAIN, unsigned char type = RTN_UNICAST,
                  unsigned char family = AF_INET) {
    const rtmsg header = {family, destination_length, 0, 0, table, 0, 0, type, 0};
    return message(RTM_NEWROUTE, header, attributes);
}

// What the kernel answers for a network: its links, addresses and routes. Interface 50 comes before 40 in
// time, and has a peer's address; 40 has no IPv4 address, and its names are longer than any that a kernel
// gives. The last four routes are no gateways for everything.
std::deque<Reply> known_network() {
    const unsigned up = IFF_UP | IFF_RUNNING;
    const ifa_cacheinfo lease = {80, 90, 0, 0};
    const std::string no_gateway = attribute(RTA_GATEWAY, "GATE") + number(RTA_OIF, 50);
    return {{link(50, "kalto1", ARPHRD_ETHER, up, "hw50") +
             link(40, std::string(40, 'n'), ARPHRD_ETHER, 0, std::string(20, 'h')) +
             link(1, "lo", ARPHRD_LOOPBACK, up | IFF_LOOPBACK, "") + done()},
            {address(50, "192.0.2.10", 24, number(IFA_FLAGS, IFA_F_PERMANENT | IFA_F_NOPREFIXROUTE)) +
             address(50, "10.1.2.3", 30,
                     attribute(IFA_ADDRESS, "PEER") + attribute(IFA_BROADCAST, packed("10.1.2.200")) +
                         attribute(IFA_CACHEINFO, bytes_of(lease))) +
             address(50, "192.0.2.11", 24, number(IFA_FLAGS, IFA_F_PERMANENT | IFA_F_SECONDARY)) +
             address(40, "2001:db8:1::5", 48) + address(40, "fe80::7", 64) +
             address(1, "127.0.0.1", 99, number(IFA_FLAGS, IFA_F_PERMANENT)) + done()},
            {route(attribute(RTA_GATEWAY, packed("192.0.2.1")) + number(RTA_OIF, 50) +
                   number(RTA_PRIORITY, 200)) +
             route(number(RTA_PRIORITY, 100) +
                   attribute(RTA_MULTIPATH, hop(50, "192.0.2.2") + hop(40, "192.0.2.9"))) +
             route(no_gateway, 8) + route(no_gateway, 0, 100) +
             route(no_gateway, 0, RT_TABLE_MAIN, RTN_UNREACHABLE) +
             route(no_gateway, 0, RT_TABLE_MAIN, RTN_UNICAST, AF_INET6) + done()}};
}

constexpr ULONG kAllKinds = GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

template <BOOL sorted> DWORD address_table(void* buffer, ULONG* size) {
    return GetIpAddrTable(static_cast<MIB_IPADDRTABLE*>(buffer), size, sorted);
}
DWORD adapters_info(void* buffer, ULONG* size) {
    return GetAdaptersInfo(static_cast<IP_ADAPTER_INFO*>(buffer), size);
}
template <ULONG family, ULONG flags> DWORD adapters_addresses(void* buffer, ULONG* size) {
    return GetAdaptersAddresses(family, flags, nullptr, static_cast<IP_ADAPTER_ADDRESSES*>(buffer), size);
}

using TableCall = DWORD (*)(void* buffer, ULONG* size);
constexpr TableCall kTableCalls[] = {address_table<TRUE>, adapters_info,
                                     adapters_addresses<AF_UNSPEC, kAllKinds>};

alignas(std::max_align_t) char buffer[1 << 16];

// The adapter that a call stores first.
template <typename Record> const Record* first_of(TableCall call, const std::deque<Reply>& answers) {
    script = answers;
    ULONG size = sizeof buffer;
    EXPECT_EQ(call(buffer, &size), DWORD{NO_ERROR});
    return reinterpret_cast<Record*>(buffer);
}

std::string text(const SOCKET_ADDRESS& address) {
    char result[INET6_ADDRSTRLEN] = "";
    const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address.lpSockaddr);
    const bool ipv4 = ipv6->sin6_family == AF_INET;
    const void* bytes = &ipv6->sin6_addr;
    inet_ntop(ipv6->sin6_family, ipv4 ? &ipv6->sin6_flowinfo : bytes, result, sizeof result);
    return result + (ipv4 ? "" : "%" + std::to_string(ipv6->sin6_scope_id));
}

// What a list holds, as " address address".
template <typename Entry> std::string list(const Entry* entry) {
    std::string result;
    for (; entry != nullptr; entry = entry->Next) {
        EXPECT_EQ(entry->Length, sizeof *entry);
        result += " " + text(entry->Address);
    }
    return result;
}

std::string list(const IP_ADDR_STRING* entry) {
    std::string result;
    for (; entry != nullptr; entry = entry->Next)
        result += std::string(" ") + entry->IpAddress.String + "/" + entry->IpMask.String;
    return result;
}

// An address with its interface and its mask.
using Row = std::tuple<DWORD, DWORD, DWORD>;

std::multiset<Row> rows_of_the_c_library() {
    const auto number = [](const sockaddr* address) {
        return reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
    };
    std::multiset<Row> rows;
    ifaddrs* first = nullptr;
    EXPECT_EQ(getifaddrs(&first), 0);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next)
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET)
            rows.emplace(if_nametoindex(entry->ifa_name), number(entry->ifa_addr),
                         number(entry->ifa_netmask));
    freeifaddrs(first);
    return rows;
}

TEST(NetworkTables, TellWhatTheKernelOfThisMachineSays) {
    const auto* table = first_of<MIB_IPADDRTABLE>(kTableCalls[0], {});
    std::multiset<Row> rows;
    for (DWORD i = 0; i < table->dwNumEntries; ++i)
        rows.emplace(table->table[i].dwIndex, table->table[i].dwAddr, table->table[i].dwMask);
    EXPECT_EQ(rows, rows_of_the_c_library());
    const auto* loopback = first_of<IP_ADAPTER_ADDRESSES>(kTableCalls[2], {});
    EXPECT_EQ(loopback->IfIndex, if_nametoindex("lo"));
    EXPECT_NE(list(loopback->FirstUnicastAddress).find(" 127.0.0.1"), std::string::npos);
    EXPECT_NE(list(loopback->FirstMulticastAddress).find(" 224.0.0.1"), std::string::npos);
}

TEST(NetworkTables, NeverWriteIntoABufferThatIsTooSmallNorWhenTheyFail) {
    for (const TableCall& call : kTableCalls) {
        std::deque<Reply> answers = known_network();
        if (&call == kTableCalls) // which asks for the addresses alone
            answers = {answers[1]};
        EXPECT_EQ(call(nullptr, nullptr), DWORD{ERROR_INVALID_PARAMETER});
        ULONG needed = 77;
        script = {{message(NLMSG_ERROR, -EPERM)}};
        EXPECT_EQ(call(nullptr, &needed), DWORD{EPERM});
        script = {{"", kThrows}};
        EXPECT_EQ(call(nullptr, &needed), DWORD{ERROR_NOT_ENOUGH_MEMORY});
        EXPECT_EQ(needed, 77u);
        script = answers;
        ASSERT_EQ(call(nullptr, &needed), DWORD{ERROR_INSUFFICIENT_BUFFER});
        std::string block(needed, '\x5A'); // of exactly that size: the sanitizer sees a byte too many
        ULONG size = needed - 1;
        script = answers;
        EXPECT_EQ(call(block.data(), &size), DWORD{ERROR_BUFFER_OVERFLOW});
        EXPECT_EQ(size, needed);
        EXPECT_EQ(block, std::string(needed, '\x5A'));
        script = answers;
        EXPECT_EQ(call(block.data(), &size), DWORD{NO_ERROR});
    }
    ULONG size = 0;
    EXPECT_EQ((adapters_addresses<AF_UNIX, 0>)(nullptr, &size), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(NetworkTables, AreEmptyWithoutInterfacesOrAddresses) {
    const std::deque<Reply> bare = {
        {link(1, "lo", ARPHRD_LOOPBACK, IFF_LOOPBACK, "") + done()}, {done()}, {done()}};
    ULONG size = 0;
    for (const TableCall& call :
         {kTableCalls[0], kTableCalls[1], TableCall{adapters_addresses<AF_INET, 0>}}) {
        script = bare;
        EXPECT_EQ(call(nullptr, &size), DWORD{ERROR_NO_DATA});
        size = 0;
    }
    EXPECT_EQ((first_of<IP_ADAPTER_ADDRESSES>(kTableCalls[2], bare))->OperStatus, IfOperStatusDown);
}

TEST(KnownNetwork, FillsTheAdapterTable) {
    std::string told;
    for (const auto* adapter = first_of<IP_ADAPTER_INFO>(adapters_info, known_network()); adapter != nullptr;
         adapter = adapter->Next) {
        EXPECT_STREQ(adapter->Description, adapter->AdapterName);
        EXPECT_EQ(adapter->CurrentIpAddress, &adapter->IpAddressList);
        EXPECT_EQ(list(&adapter->DhcpServer), " /");
        told += std::to_string(adapter->Index) + " " + adapter->AdapterName + " " +
                std::to_string(adapter->Type) + " " +
                std::string(adapter->Address, adapter->Address + adapter->AddressLength) +
                list(&adapter->IpAddressList) + list(&adapter->GatewayList) + "\n";
    }
    EXPECT_EQ(told, // the loopback interface is left out
              "40 nnnnnnnnnnnnnnnn 6 hhhhhhhh 0.0.0.0/0.0.0.0 192.0.2.9/255.255.255.255\n"
              "50 kalto1 6 hw50 192.0.2.10/255.255.255.0 10.1.2.3/255.255.255.252 192.0.2.11/255.255.255.0"
              " 192.0.2.2/255.255.255.255 192.0.2.1/255.255.255.255\n");
}

TEST(KnownNetwork, FillsTheAddressTable) {
    const auto address_text = [](DWORD address) {
        return std::string(inet_ntoa({static_cast<in_addr_t>(address)})) + " ";
    };
    const auto lines = [&](TableCall call) {
        const auto* table = first_of<MIB_IPADDRTABLE>(call, {known_network()[1]});
        std::string result;
        for (DWORD i = 0; i < table->dwNumEntries; ++i) {
            const MIB_IPADDRROW& row = table->table[i];
            result += std::to_string(row.dwIndex) + " " + address_text(row.dwAddr) +
                      address_text(row.dwMask) + address_text(row.dwBCastAddr) +
                      std::to_string(row.dwReasmSize) + " " + std::to_string(row.wType) + "\n";
        }
        return result;
    };
    const std::string dynamic = "50 10.1.2.3 255.255.255.252 10.1.2.200 65535 5\n",
                      local = "1 127.0.0.1 255.255.255.255 127.0.0.1 65535 1\n",
                      primary = "50 192.0.2.10 255.255.255.0 192.0.2.255 65535 1\n",
                      secondary = "50 192.0.2.11 255.255.255.0 192.0.2.255 65535 0\n";
    EXPECT_EQ(lines(address_table<FALSE>), local + primary + dynamic + secondary);
    EXPECT_EQ(lines(address_table<TRUE>), dynamic + local + primary + secondary);
}

// Everything that the records of the adapters hold.
std::string told(TableCall call) {
    std::string result;
    const auto* adapter = first_of<IP_ADAPTER_ADDRESSES>(call, known_network());
    for (; adapter != nullptr; adapter = adapter->Next) {
        result += std::string(adapter->AdapterName) + (adapter->FriendlyName != nullptr ? " named" : "");
        for (const unsigned long number : {adapter->IfIndex, adapter->Ipv6IfIndex, adapter->IfType,
                                           DWORD{adapter->OperStatus}, adapter->Mtu, adapter->Ipv4Metric})
            result += " " + std::to_string(number);
        result += ";";
        for (auto* entry = adapter->FirstUnicastAddress; entry != nullptr; entry = entry->Next)
            result += " " + text(entry->Address) + "/" + std::to_string(entry->OnLinkPrefixLength) + "-" +
                      std::to_string(entry->PrefixOrigin) + std::to_string(entry->SuffixOrigin) +
                      std::to_string(entry->DadState) + std::to_string(entry->Flags) + "-" +
                      std::to_string(entry->ValidLifetime);
        result += ";" + list(adapter->FirstPrefix) + ";" + list(adapter->FirstGatewayAddress) + "\n";
    }
    return result;
}

TEST(KnownNetwork, FillsTheListOfAddressesAsFamilyAndFlagsAsk) {
    EXPECT_EQ(told(kTableCalls[2]),
              "lo named 1 0 24 1 1280 0; 127.0.0.1/32-2240-4294967295; 127.0.0.1;\n"
              "nnnnnnnnnnnnnnnn named 40 40 6 2 1280 100; 2001:db8:1::5%0/48-4441-4294967295"
              " fe80::7%40/64-2440-4294967295; 2001:db8:1::%0 fe80::%40; 192.0.2.9\n"
              "kalto1 named 50 0 6 1 1280 100; 192.0.2.10/24-1141-4294967295 10.1.2.3/30-3341-90"
              " 192.0.2.11/24-1141-4294967295; 192.0.2.0 10.1.2.0 192.0.2.0; 192.0.2.2 192.0.2.1\n");
    EXPECT_EQ((told(adapters_addresses<AF_INET6, kAllKinds | GAA_FLAG_SKIP_FRIENDLY_NAME>)),
              "lo 1 0 24 1 1280 0;;;\n"
              "nnnnnnnnnnnnnnnn 40 40 6 2 1280 0; 2001:db8:1::5%0/48-4441-4294967295"
              " fe80::7%40/64-2440-4294967295; 2001:db8:1::%0 fe80::%40;\n"
              "kalto1 50 0 6 1 1280 0;;;\n");
    constexpr ULONG skip = GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    const auto* adapter = first_of<IP_ADAPTER_ADDRESSES>(adapters_addresses<AF_INET, skip>, known_network());
    EXPECT_EQ(list(adapter->FirstUnicastAddress) + list(adapter->FirstPrefix), "");
    EXPECT_EQ(adapter->FirstMulticastAddress, nullptr);
    EXPECT_EQ(adapter->Next->Next->FirstGatewayAddress, nullptr);
    EXPECT_EQ(adapter->Next->Next->FirstDnsServerAddress, nullptr);
}

// The bytes end their block, so that the address sanitizer sees a look beyond.
void parse(const std::string& bytes) {
    const std::vector<unsigned char> block(bytes.begin(), bytes.end());
    kalto::Network network;
    kalto::parse_links({block.data(), block.size()}, network.links);
    kalto::parse_addresses({block.data(), block.size()}, network.addresses);
    kalto::parse_gateways({block.data(), block.size()}, network.gateways);
    for (const kalto::NetworkAddress& found : network.addresses)
        EXPECT_LE(found.prefix_length, 8 * found.local.size());
}

TEST(NetworkMessages, OfAnyLengthAndWithAnyClaimedSizeStayInsideTheDump) {
    for (const Reply& reply : known_network())
        for (size_t at = 0; at < reply.bytes.size(); ++at) {
            parse(reply.bytes.substr(0, at));
            for (const char value : {'\0', '\1', '\5', '\x7F', '\xFF'})
                parse(std::string(reply.bytes).replace(at, 1, 1, value));
        }
}

} // namespace
