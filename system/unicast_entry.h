// The list entries that tell of one address: itself as a socket address, where it came from, its network.
#ifndef KALTO_SYSTEM_UNICAST_ENTRY_H
#define KALTO_SYSTEM_UNICAST_ENTRY_H

#include "system/table_pieces.h"

namespace kalto {

// Puts the address, on the interface of that index, behind the pieces so far.
SOCKET_ADDRESS put_address(Pieces& pieces, const IpAddress& address, std::uint32_t index);

IP_ADAPTER_UNICAST_ADDRESS unicast_entry(Pieces& pieces, const NetworkAddress& address);

// The network that the address belongs to.
IP_ADAPTER_PREFIX prefix_entry(Pieces& pieces, const NetworkAddress& address);

} // namespace kalto

#endif
