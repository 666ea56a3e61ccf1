// What the routing socket may say, and how it may fail.
#include "scripted_kernel.h"
#include "system/network.h"

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <new>

extern "C" ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
    if (script.empty()) {
        using Receive = ssize_t (*)(int, msghdr*, int);
        return reinterpret_cast<Receive>(dlsym(RTLD_NEXT, "recvmsg"))(descriptor, message, flags);
    }
    const Reply reply = script.front();
    if (script.size() > 1 || !repeat_last)
        script.pop_front();
    if (reply.error == kThrows)
        throw std::bad_alloc();
    errno = reply.error;
    static_cast<sockaddr_nl*>(message->msg_name)->nl_pid = reply.sender;
    message->msg_flags = reply.truncated ? MSG_TRUNC : 0;
    std::memcpy(message->msg_iov->iov_base, reply.bytes.data(), reply.bytes.size());
    return reply.error != 0 ? -1 : static_cast<ssize_t>(reply.bytes.size());
}

namespace {

TEST(Netlink, ADumpIsWhatTheKernelSaidLast) {
    const std::string first = address(7, "10.0.0.1"), second = address(5, "10.0.0.2");
    const std::string changed = address(7, "10.0.0.1", 24, "", NLM_F_DUMP_INTR);
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
        {"a refusal", {{message(NLMSG_ERROR, -EPERM)}}, EPERM, {}},
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
        for (const kalto::NetworkAddress& found : addresses)
            indexes.push_back(found.index);
        EXPECT_EQ(indexes, item.indexes) << item.what;
        EXPECT_EQ(script.empty(), !repeat_last) << item.what;
    }
}

} // namespace
