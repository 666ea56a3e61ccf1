// Dumps of the kernel's network tables, and walking through the messages and attributes they consist of.
#ifndef KALTO_SYSTEM_NETLINK_H
#define KALTO_SYSTEM_NETLINK_H

#include <cstddef>
#include <cstring>
#include <vector>

namespace kalto {

// A piece of a dump: a whole dump, or the payload of one message or attribute. Points into the dump.
struct NetlinkBytes {
    const unsigned char* data;
    std::size_t size;
};

struct NetlinkItem {
    unsigned type; // RTM_..., or the attribute's number
    NetlinkBytes payload;
};

// Asks the kernel for everything that request (RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE) lists, and stores the
// answering messages one after the other. A table that changes while it is read is read again. Returns 0 or
// the errno of the step that failed. Throws std::bad_alloc. A cancellation point.
int netlink_dump(unsigned short request, std::vector<unsigned char>& messages);

// Take the next message, or attribute, off the front of rest. False at the end, and where what the size
// fields claim does not fit what is there.
bool take_message(NetlinkBytes& rest, NetlinkItem& message);
bool take_attribute(NetlinkBytes& rest, NetlinkItem& attribute);

// Takes a fixed record off the front of rest. False when there is less.
template <typename Record> bool take_record(NetlinkBytes& rest, std::size_t aligned_size, Record& record) {
    if (rest.size < sizeof record) {
        return false;
    }
    std::memcpy(&record, rest.data, sizeof record);
    const std::size_t taken = aligned_size < rest.size ? aligned_size : rest.size;
    rest = {rest.data + taken, rest.size - taken};
    return true;
}

} // namespace kalto

#endif
