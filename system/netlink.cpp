// One socket for each dump, closed when it is through; nothing is kept between calls. Netlink is asked rather
// than /proc or the interface ioctls because it alone lists everything (addresses without a label, several
// gateways), follows the network namespace of the calling thread, and needs no mounted file system.
#include "system/netlink.h"

#include <algorithm>
#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kalto {
namespace {

// The kernel fills a reply datagram up to the size of the buffer it is read into, and at most to this.
constexpr std::size_t kDatagramSize = 32768;
constexpr int kAttempts = 8;
constexpr unsigned kSequence = 1;

// Closing may cancel the thread, so the destructor must let that pass.
class NetlinkSocket {
  public:
    NetlinkSocket() : descriptor_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {}
    ~NetlinkSocket() noexcept(false) {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    NetlinkSocket(const NetlinkSocket&) = delete;
    NetlinkSocket& operator=(const NetlinkSocket&) = delete;

    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

int send_request(int descriptor, unsigned short request) {
    struct {
        nlmsghdr header;
        rtgenmsg body;
    } message = {};
    message.header.nlmsg_len = NLMSG_LENGTH(sizeof message.body);
    message.header.nlmsg_type = request;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.header.nlmsg_seq = kSequence;
    message.body.rtgen_family = AF_UNSPEC;
    sockaddr_nl kernel = {};
    kernel.nl_family = AF_NETLINK;
    ssize_t sent = 0;
    do {
        sent = sendto(descriptor, &message, sizeof message, 0, reinterpret_cast<const sockaddr*>(&kernel),
                      sizeof kernel);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

// Receives one datagram of the kernel; those of other processes are passed over.
int receive(int descriptor, std::vector<unsigned char>& datagram) {
    datagram.resize(kDatagramSize);
    for (;;) {
        sockaddr_nl sender = {};
        iovec part = {datagram.data(), datagram.size()};
        msghdr message = {};
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        const ssize_t size = recvmsg(descriptor, &message, 0);
        if (size < 0 && errno != EINTR) {
            return errno;
        }
        if (size < 0 || sender.nl_pid != 0) {
            continue;
        }
        if ((message.msg_flags & MSG_TRUNC) != 0) {
            return EMSGSIZE;
        }
        datagram.resize(static_cast<std::size_t>(size));
        return 0;
    }
}

enum class Progress { kMore, kDone, kFailed };

struct Dump {
    std::vector<unsigned char>& messages;
    bool interrupted; // the kernel says that the table changed meanwhile
    int error;
};

int reported_error(NetlinkBytes payload) {
    int negative = 0;
    return take_record(payload, sizeof negative, negative) && negative < 0 ? -negative : 0;
}

Progress keep_messages(NetlinkBytes datagram, Dump& dump) {
    const unsigned char* start = datagram.data;
    NetlinkItem message = {};
    while (take_message(datagram, message)) {
        nlmsghdr header = {};
        std::memcpy(&header, start, sizeof header);
        if ((header.nlmsg_flags & NLM_F_DUMP_INTR) != 0) {
            dump.interrupted = true;
        }
        if (message.type == NLMSG_DONE || message.type == NLMSG_ERROR) {
            dump.error = reported_error(message.payload);
            return dump.error != 0 ? Progress::kFailed : Progress::kDone;
        }
        dump.messages.insert(dump.messages.end(), start, datagram.data);
        dump.messages.resize(NLMSG_ALIGN(dump.messages.size()));
        start = datagram.data;
    }
    return Progress::kMore;
}

int dump_once(unsigned short request, Dump& dump) {
    const NetlinkSocket connection;
    if (connection.get() < 0) {
        return errno;
    }
    if (const int error = send_request(connection.get(), request)) {
        return error;
    }
    std::vector<unsigned char> datagram;
    Progress progress = Progress::kMore;
    while (progress == Progress::kMore) {
        if (const int error = receive(connection.get(), datagram)) {
            return error;
        }
        progress = keep_messages({datagram.data(), datagram.size()}, dump);
    }
    return dump.error;
}

// size is what the item's header claims. The last item may lack its padding.
bool take_item(NetlinkBytes& rest, std::size_t header_size, std::size_t size, NetlinkItem& item) {
    if (size < header_size || size > rest.size) {
        rest.size = 0;
        return false;
    }
    item.payload = {rest.data + header_size, size - header_size};
    const std::size_t taken = std::min<std::size_t>(NLMSG_ALIGN(size), rest.size);
    rest = {rest.data + taken, rest.size - taken};
    return true;
}

} // namespace

bool take_message(NetlinkBytes& rest, NetlinkItem& message) {
    nlmsghdr header = {};
    if (rest.size < sizeof header) {
        return false;
    }
    std::memcpy(&header, rest.data, sizeof header);
    message.type = header.nlmsg_type;
    return take_item(rest, sizeof header, header.nlmsg_len, message);
}

bool take_attribute(NetlinkBytes& rest, NetlinkItem& attribute) {
    rtattr header = {};
    if (rest.size < sizeof header) {
        return false;
    }
    std::memcpy(&header, rest.data, sizeof header);
    attribute.type = header.rta_type & NLA_TYPE_MASK;
    return take_item(rest, sizeof header, header.rta_len, attribute);
}

int netlink_dump(unsigned short request, std::vector<unsigned char>& messages) {
    int error = 0;
    // A table that never stands still is taken as the last attempt found it: better than none.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        messages.clear();
        Dump dump = {messages, false, 0};
        error = dump_once(request, dump);
        if (error != 0 || !dump.interrupted) {
            break;
        }
    }
    return error;
}

} // namespace kalto
