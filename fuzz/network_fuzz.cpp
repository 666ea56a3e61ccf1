// Reads what a kernel or a resolver's configuration might say: the first byte chooses the reader, the others
// are the routing messages or the text. Whatever is found must be whole.
#include "system/network_files.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void require(bool condition) {
    if (!condition)
        abort();
}

void read_messages(kalto::NetlinkBytes messages) {
    kalto::Network network;
    kalto::parse_links(messages, network.links);
    kalto::parse_addresses(messages, network.addresses);
    kalto::parse_gateways(messages, network.gateways);
    for (size_t i = 0; i < network.links.size(); ++i) {
        require(network.links[i].name[sizeof network.links[i].name - 1] == '\0');
        require(network.links[i].address_size <= sizeof network.links[i].address);
        require(i == 0 || network.links[i - 1].index <= network.links[i].index);
    }
    for (const kalto::NetworkAddress& address : network.addresses)
        require(address.local.size() != 0 && address.prefix_length <= 8 * address.local.size());
    for (const kalto::NetworkGateway& gateway : network.gateways)
        require(gateway.gateway.size() != 0 && gateway.index != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const std::vector<uint8_t> block(data + 1, data + size); // of exactly its size
    const std::string text(block.begin(), block.end());
    std::vector<kalto::NetworkGroup> groups;
    switch (data[0]) {
    case 'i':
        kalto::parse_igmp(text, groups);
        break;
    case '6':
        kalto::parse_igmp6(text, groups);
        break;
    case 'n':
        kalto::parse_name_servers(text, groups);
        break;
    default:
        read_messages({block.data(), block.size()});
    }
    for (const kalto::NetworkGroup& group : groups)
        require(group.address.size() != 0);
    return 0;
}
