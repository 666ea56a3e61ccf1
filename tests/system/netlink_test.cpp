// Faults of the routing socket and of memory, and messages of any shape.
#include "scripted_kernel.h"
#include "system/network.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <new>
#include <unistd.h>

std::deque<Reply> script;
bool repeat_last = false;

static int allocations_left = -1; // then operator new fails once; negative: never

// Kept out of line: the compiler takes their insides for a mismatch of new and free.
__attribute__((noinline)) void* operator new(size_t size) {
    const bool failing = allocations_left >= 0 && allocations_left-- == 0;
    if (void* block = failing ? nullptr : malloc(size)) {
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
    if (reply.error != 0) {
        errno = reply.error;
        return -1;
    }
    static_cast<sockaddr_nl*>(message->msg_name)->nl_pid = reply.sender;
    message->msg_flags = reply.truncated ? MSG_TRUNC : 0;
    std::memcpy(message->msg_iov->iov_base, reply.bytes.data(), reply.bytes.size());
    return static_cast<ssize_t>(reply.bytes.size());
}

namespace {

// The lowest free descriptor must be the same after each test.
class Netlink : public testing::Test {
  protected:
    ~Netlink() override { EXPECT_EQ(free_descriptor(), descriptor_) << "a socket is still open"; }

  private:
    static int free_descriptor() {
        const int descriptor = open("/dev/null", O_RDONLY);
        close(descriptor);
        return descriptor;
    }

    const int descriptor_ = free_descriptor();
};

TEST_F(Netlink, ADumpIsWhatTheKernelSaidLast) {
    const std::string first = address(7, "10.0.0.1").bytes();
    const std::string second = address(5, "10.0.0.2").bytes();
    const std::string changed = address(7, "10.0.0.1", 24, 0, NLM_F_DUMP_INTR).bytes();
    const struct {
        const char* what;
        std::deque<Reply> replies;
        int result;
        std::vector<unsigned> indexes;
    } cases[] = {
        {"two datagrams", {{first}, {second + done()}}, 0, {5, 7}},
        {"an interrupted wait", {{"", EINTR}, {first + done()}}, 0, {7}},
        {"another process's message", {{second, 0, 4711}, {first + done()}}, 0, {7}},
        {"a table that changed", {{changed}, {done()}, {second}, {done()}}, 0, {5}},
        {"a refusal", {{NetlinkMessage(NLMSG_ERROR, -EPERM).bytes()}}, EPERM, {}},
        {"an end that reports failure", {{first}, {done(-ENOBUFS)}}, ENOBUFS, {}},
        {"a message longer than the buffer", {{first, 0, 0, true}}, EMSGSIZE, {}},
        {"a dead socket", {{"", ENOMEM}}, ENOMEM, {}},
        {"a table that never stands still", {{changed + done()}}, 0, {7}},
    };
    for (const auto& item : cases) {
        script = item.replies;
        repeat_last = &item == std::end(cases) - 1;
        std::vector<kalto::NetworkAddress> addresses;
        EXPECT_EQ(kalto::read_addresses(addresses), item.result) << item.what;
        std::vector<unsigned> indexes;
        for (const kalto::NetworkAddress& found : addresses) {
            indexes.push_back(found.index);
        }
        EXPECT_EQ(indexes, item.indexes) << item.what;
        EXPECT_EQ(script.empty(), !repeat_last) << item.what;
    }
}

TEST_F(Netlink, AFailureIsTheResultOfTheCallAndLeavesTheSizeAlone) {
    script = {{NetlinkMessage(NLMSG_ERROR, -EPERM).bytes()}};
    repeat_last = true;
    for (const TableCall call : kTableCalls) {
        ULONG size = 77;
        EXPECT_EQ(call(nullptr, &size), DWORD{EPERM});
        EXPECT_EQ(size, 77u);
    }
}

TEST_F(Netlink, MemoryThatRunsOutAnywhereIsReported) {
    alignas(std::max_align_t) static char buffer[1 << 16];
    for (const TableCall call : kTableCalls) {
        DWORD result = ERROR_NOT_ENOUGH_MEMORY;
        int failures = 0;
        for (; result == ERROR_NOT_ENOUGH_MEMORY && failures < 10000; ++failures) {
            ULONG size = sizeof buffer;
            allocations_left = failures;
            result = call(buffer, &size);
            allocations_left = -1;
        }
        EXPECT_TRUE(result == NO_ERROR || result == ERROR_NO_DATA) << result;
        EXPECT_GT(failures, 2);
    }
}

// A link, a point-to-point address (its own end is LOCAL, the peer's is ADDRESS; flags beyond 8 bits stand
// apart) and a route over two gateways.
std::string three_messages() {
    ifinfomsg link = {};
    link.ifi_index = 3;
    ifa_cacheinfo lifetimes = {};
    lifetimes.ifa_valid = 90;
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
    return NetlinkMessage(RTM_NEWLINK, link)
               .attribute(IFLA_ADDRESS, std::string(20, 'h')) // as InfiniBand has
               .attribute(IFLA_IFNAME, std::string(40, 'n'))  // longer than any name that a kernel gives
               .attribute(IFLA_OPERSTATE, "\6")
               .bytes() +
           address(3, "10.0.0.1")
               .attribute(IFA_ADDRESS, "PEER")
               .number(IFA_FLAGS, IFA_F_PERMANENT | IFA_F_NOPREFIXROUTE)
               .attribute(IFA_CACHEINFO, {reinterpret_cast<const char*>(&lifetimes), sizeof lifetimes})
               .bytes() +
           NetlinkMessage(RTM_NEWROUTE, default_route())
               .number(RTA_PRIORITY, 600)
               .attribute(RTA_MULTIPATH, hops)
               .bytes();
}

// The bytes end their block, so that the address sanitizer sees a look beyond.
kalto::Network parsed(const std::string& bytes) {
    const std::vector<unsigned char> block(bytes.begin(), bytes.end());
    kalto::Network network;
    kalto::parse_links({block.data(), block.size()}, network.links);
    kalto::parse_addresses({block.data(), block.size()}, network.addresses);
    kalto::parse_gateways({block.data(), block.size()}, network.gateways);
    return network;
}

TEST(NetworkMessages, AreTakenForWhatTheyMean) {
    const kalto::Network network = parsed(three_messages());
    ASSERT_EQ(network.links.size(), 1u);
    EXPECT_EQ(std::string(network.links[0].name), std::string(16, 'n'));
    EXPECT_EQ(network.links[0].address_size, kalto::kHardwareAddressSize);
    ASSERT_EQ(network.addresses.size(), 1u);
    EXPECT_EQ(std::memcmp(network.addresses[0].local.bytes, packed("10.0.0.1").data(), 4), 0);
    EXPECT_EQ(network.addresses[0].flags, unsigned{IFA_F_PERMANENT | IFA_F_NOPREFIXROUTE});
    EXPECT_EQ(network.addresses[0].valid_lifetime, 90u);
    ASSERT_EQ(network.gateways.size(), 2u);
    EXPECT_EQ(network.gateways[1].index, 2u);
    EXPECT_EQ(std::memcmp(network.gateways[1].gateway.bytes, "GW-2", 4), 0);
    EXPECT_EQ(network.gateways[1].metric, 600u);
}

TEST(NetworkMessages, OfAnyLengthAndWithAnyClaimedSizeStayInsideTheDump) {
    const std::string whole = three_messages();
    for (size_t at = 0; at < whole.size(); ++at) {
        EXPECT_LE(parsed(whole.substr(0, at)).gateways.size(), 2u);
        for (const char value : {'\0', '\1', '\5', '\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[at] = value;
            for (const kalto::NetworkAddress& found : parsed(changed).addresses) {
                EXPECT_LE(found.prefix_length, 8 * found.local.size());
            }
        }
    }
}

TEST(NetworkMessages, RoutesThatAreNoGatewayForEverythingAreLeftOut) {
    rtmsg routes[5];
    std::fill(std::begin(routes), std::end(routes), default_route());
    routes[1].rtm_dst_len = 8;
    routes[2].rtm_type = RTN_UNREACHABLE;
    routes[3].rtm_table = 100;
    routes[4].rtm_family = AF_INET6; // with a gateway of four bytes
    for (const rtmsg& route : routes) {
        NetlinkMessage message(RTM_NEWROUTE, route);
        message.attribute(RTA_GATEWAY, "GATE").number(RTA_OIF, 2);
        EXPECT_EQ(parsed(message.bytes()).gateways.size(), &route == routes ? 1u : 0u) << &route - routes;
    }
}

} // namespace
