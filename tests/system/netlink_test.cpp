// A kernel that answers from a script: faults of the routing socket, and messages of any shape.
#include "netlink_message.h"
#include "system/network.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iphlpapi.h>
#include <linux/if_addr.h>
#include <new>

namespace {

struct Reply {
    std::string bytes;
    int error = 0;       // errno of a failing recvmsg
    unsigned sender = 0; // 0 is the kernel
    bool truncated = false;
};

std::deque<Reply> script; // what recvmsg gives; empty: the real kernel answers
bool repeat_last = false;
int received = 0;
int allocations_left = -1; // then operator new fails once; negative: never

std::string done(int error = 0) {
    return NetlinkMessage(NLMSG_DONE, 0, error).bytes();
}

NetlinkMessage address_message(unsigned index, unsigned short flags = 0) {
    ifaddrmsg header = {};
    header.ifa_family = AF_INET;
    header.ifa_prefixlen = 24;
    header.ifa_index = index;
    return NetlinkMessage(RTM_NEWADDR, flags, header);
}

std::string address(unsigned index, const std::string& local, unsigned short flags = 0) {
    return address_message(index, flags).attribute(IFA_LOCAL, local).bytes();
}

int open_descriptors() {
    int count = 0;
    if (DIR* directory = opendir("/proc/self/fd")) {
        while (readdir64(directory) != nullptr) {
            ++count;
        }
        closedir(directory);
    }
    return count;
}

kalto::NetlinkBytes view(const std::string& bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

} // namespace

// Kept out of line: the compiler takes their insides for a mismatch of new and free.
__attribute__((noinline)) void* operator new(size_t size) {
    if (allocations_left >= 0 && allocations_left-- == 0) {
        throw std::bad_alloc();
    }
    if (void* block = malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* block) noexcept {
    free(block);
}
__attribute__((noinline)) void operator delete(void* block, size_t) noexcept {
    free(block);
}

extern "C" ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
    if (script.empty()) {
        using Receive = ssize_t (*)(int, msghdr*, int);
        return reinterpret_cast<Receive>(dlsym(RTLD_NEXT, "recvmsg"))(descriptor, message, flags);
    }
    const Reply reply = script.front();
    if (script.size() > 1 || !repeat_last) {
        script.pop_front();
    }
    ++received;
    if (reply.error != 0) {
        errno = reply.error;
        return -1;
    }
    static_cast<sockaddr_nl*>(message->msg_name)->nl_pid = reply.sender;
    message->msg_flags = reply.truncated ? MSG_TRUNC : 0;
    std::memcpy(message->msg_iov->iov_base, reply.bytes.data(), reply.bytes.size());
    return static_cast<ssize_t>(reply.bytes.size());
}

TEST(NetlinkDump, GivesWhatTheKernelSaidLastAndClosesItsSocket) {
    const std::string a("\x0A\x00\x00\x01", 4);
    const std::string b("\x0A\x00\x00\x02", 4);
    struct Case {
        const char* what;
        std::deque<Reply> replies;
        int result;
        std::vector<unsigned> indexes;
    };
    const Case cases[] = {
        {"two datagrams", {{address(7, a)}, {address(5, b) + done()}}, 0, {5, 7}},
        {"an interrupted wait", {{"", EINTR}, {address(7, a) + done()}}, 0, {7}},
        {"another process's message", {{address(9, b), 0, 4711}, {address(7, a) + done()}}, 0, {7}},
        {"a table that changed",
         {{address(7, a, NLM_F_DUMP_INTR)}, {done()}, {address(8, b)}, {done()}},
         0,
         {8}},
        {"a refusal", {{NetlinkMessage(NLMSG_ERROR, 0, -EPERM).bytes()}}, EPERM, {}},
        {"an end that reports failure", {{address(7, a)}, {done(-ENOBUFS)}}, ENOBUFS, {}},
        {"a message longer than the buffer", {{address(7, a), 0, 0, true}}, EMSGSIZE, {}},
        {"a dead socket", {{"", ENOMEM}}, ENOMEM, {}},
    };
    const int descriptors = open_descriptors();
    for (const Case& item : cases) {
        SCOPED_TRACE(item.what);
        script = item.replies;
        std::vector<kalto::NetworkAddress> addresses;
        EXPECT_EQ(kalto::read_addresses(addresses), item.result);
        std::vector<unsigned> indexes;
        for (const kalto::NetworkAddress& found : addresses) {
            indexes.push_back(found.index);
        }
        EXPECT_EQ(indexes, item.indexes);
        EXPECT_TRUE(script.empty());
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(NetlinkDump, EndsOnATableThatNeverStandsStill) {
    script = {{address(7, std::string("\x0A\x00\x00\x01", 4), NLM_F_DUMP_INTR) + done()}};
    repeat_last = true;
    std::vector<kalto::NetworkAddress> addresses;
    EXPECT_EQ(kalto::read_addresses(addresses), 0);
    EXPECT_EQ(addresses.size(), 1u);
    EXPECT_GT(received, 1);
}

TEST(NetlinkDump, AFailureIsTheResultOfTheCallAndLeavesTheSizeAlone) {
    script = {{NetlinkMessage(NLMSG_ERROR, 0, -EPERM).bytes()}};
    repeat_last = true;
    ULONG size = 77;
    EXPECT_EQ(GetIpAddrTable(nullptr, &size, FALSE), DWORD{EPERM});
    EXPECT_EQ(GetAdaptersInfo(nullptr, &size), DWORD{EPERM});
    EXPECT_EQ(GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, nullptr, &size), ULONG{EPERM});
    EXPECT_EQ(size, 77u);
}

TEST(NetlinkDump, MemoryThatRunsOutAnywhereIsReportedAndNothingIsKept) {
    alignas(std::max_align_t) static char buffer[1 << 16];
    const int descriptors = open_descriptors();
    const auto attempt = [&](auto call) {
        DWORD result = ERROR_NOT_ENOUGH_MEMORY;
        int failures = 0;
        for (; result == ERROR_NOT_ENOUGH_MEMORY && failures < 10000; ++failures) {
            ULONG size = sizeof buffer;
            allocations_left = failures;
            result = call(&size);
            allocations_left = -1;
        }
        EXPECT_TRUE(result == NO_ERROR || result == ERROR_NO_DATA) << result;
        EXPECT_GT(failures, 2);
    };
    attempt(
        [](ULONG* size) { return GetIpAddrTable(reinterpret_cast<MIB_IPADDRTABLE*>(buffer), size, TRUE); });
    attempt([](ULONG* size) { return GetAdaptersInfo(reinterpret_cast<IP_ADAPTER_INFO*>(buffer), size); });
    attempt([](ULONG* size) {
        return GetAdaptersAddresses(AF_UNSPEC, GAA_FLAG_INCLUDE_PREFIX, nullptr,
                                    reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer), size);
    });
    EXPECT_EQ(open_descriptors(), descriptors);
}

namespace {

std::string link_bytes() {
    ifinfomsg header = {};
    header.ifi_index = 3;
    header.ifi_type = 1;
    const std::string longest(20, 'h'); // as InfiniBand has
    return NetlinkMessage(RTM_NEWLINK, 0, header)
        .attribute(IFLA_ADDRESS, longest)
        .attribute(IFLA_IFNAME, std::string(40, 'n')) // longer than any name that a kernel gives
        .number(IFLA_MTU, 1400)
        .attribute(IFLA_OPERSTATE, std::string(1, '\6'))
        .bytes();
}

// A point-to-point address: its own end is LOCAL, the peer's is ADDRESS; flags beyond 8 bits stand apart.
std::string peer_bytes() {
    ifa_cacheinfo lifetimes = {};
    lifetimes.ifa_prefered = 60;
    lifetimes.ifa_valid = 90;
    return address_message(3)
        .attribute(IFA_ADDRESS, "PEER")
        .attribute(IFA_LOCAL, "SELF")
        .number(IFA_FLAGS, IFA_F_PERMANENT | IFA_F_NOPREFIXROUTE)
        .attribute(IFA_CACHEINFO, &lifetimes, sizeof lifetimes)
        .bytes();
}

std::string route_bytes() {
    rtmsg header = {};
    header.rtm_family = AF_INET;
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_type = RTN_UNICAST;
    std::string hops;
    for (const char* gateway : {"GW-1", "GW-2"}) {
        rtnexthop hop = {};
        hop.rtnh_len = sizeof hop + RTA_LENGTH(4);
        hop.rtnh_ifindex = gateway[3] - '0';
        const rtattr attribute = {RTA_LENGTH(4), RTA_GATEWAY};
        hops.append(reinterpret_cast<const char*>(&hop), sizeof hop);
        hops.append(reinterpret_cast<const char*>(&attribute), sizeof attribute);
        hops.append(gateway, 4);
    }
    return NetlinkMessage(RTM_NEWROUTE, 0, header)
        .number(RTA_PRIORITY, 600)
        .attribute(RTA_MULTIPATH, hops)
        .bytes();
}

void parse_all(const std::string& bytes, kalto::Network& network) {
    kalto::parse_links(view(bytes), network.links);
    kalto::parse_addresses(view(bytes), network.addresses);
    kalto::parse_gateways(view(bytes), network.gateways);
}

} // namespace

TEST(NetworkMessages, AreTakenForWhatTheyMean) {
    kalto::Network network;
    parse_all(link_bytes() + peer_bytes() + route_bytes(), network);

    ASSERT_EQ(network.links.size(), 1u);
    EXPECT_EQ(std::string(network.links[0].name), std::string(16, 'n'));
    EXPECT_EQ(network.links[0].address_size, kalto::kHardwareAddressSize);
    EXPECT_EQ(network.links[0].mtu, 1400u);

    ASSERT_EQ(network.addresses.size(), 1u);
    EXPECT_EQ(std::memcmp(network.addresses[0].local.bytes, "SELF", 4), 0);
    EXPECT_EQ(network.addresses[0].flags, unsigned{IFA_F_PERMANENT | IFA_F_NOPREFIXROUTE});
    EXPECT_EQ(network.addresses[0].valid_lifetime, 90u);

    ASSERT_EQ(network.gateways.size(), 2u);
    EXPECT_EQ(network.gateways[1].index, 2u);
    EXPECT_EQ(std::memcmp(network.gateways[1].gateway.bytes, "GW-2", 4), 0);
    EXPECT_EQ(network.gateways[1].metric, 600u);
}

TEST(NetworkMessages, OfAnyLengthAndWithAnyClaimedSizeStayInsideTheDump) {
    const std::string whole = link_bytes() + peer_bytes() + route_bytes();
    for (size_t size = 0; size <= whole.size(); ++size) {
        kalto::Network network;
        const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        parse_all({cut.begin(), cut.end()}, network);
        EXPECT_LE(network.gateways.size(), 2u);
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const char value : {'\0', '\1', '\5', '\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[at] = value;
            kalto::Network network;
            parse_all(changed, network);
            for (const kalto::NetworkAddress& found : network.addresses) {
                EXPECT_LE(found.prefix_length, 8 * found.local.size());
            }
        }
    }
}

TEST(NetworkMessages, RoutesThatAreNoGatewayForEverythingAreLeftOut) {
    const auto gateways_for = [](auto change) {
        rtmsg header = {};
        header.rtm_family = AF_INET;
        header.rtm_table = RT_TABLE_MAIN;
        header.rtm_type = RTN_UNICAST;
        change(header);
        kalto::Network network;
        parse_all(
            NetlinkMessage(RTM_NEWROUTE, 0, header).attribute(RTA_GATEWAY, "GATE").number(RTA_OIF, 2).bytes(),
            network);
        return network.gateways.size();
    };
    EXPECT_EQ(gateways_for([](rtmsg&) {}), 1u);
    EXPECT_EQ(gateways_for([](rtmsg& route) { route.rtm_dst_len = 8; }), 0u);
    EXPECT_EQ(gateways_for([](rtmsg& route) { route.rtm_type = RTN_UNREACHABLE; }), 0u);
    EXPECT_EQ(gateways_for([](rtmsg& route) { route.rtm_table = 100; }), 0u);
    EXPECT_EQ(gateways_for([](rtmsg& route) { route.rtm_family = AF_INET6; }), 0u);
}
