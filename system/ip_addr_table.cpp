#include "system/network_tables.h"

#include <algorithm>
#include <arpa/inet.h>
#include <linux/if_addr.h>

namespace kalto {
namespace {

constexpr std::size_t kRows = offsetof(MIB_IPADDRTABLE, table);
constexpr DWORD kReassemblySize = 65535;

std::uint32_t ipv4_value(const IpAddress& address) {
    std::uint32_t value = 0;
    std::memcpy(&value, address.bytes, sizeof value);
    return value;
}

MIB_IPADDRROW row_of(const NetworkAddress& address) {
    const std::uint32_t mask = ipv4_mask(address.prefix_length);
    const std::uint32_t value = ipv4_value(address.local);
    MIB_IPADDRROW row = {};
    row.dwAddr = value;
    row.dwIndex = address.index;
    row.dwMask = mask;
    row.dwBCastAddr = address.broadcast != 0 ? address.broadcast : value | ~mask;
    row.dwReasmSize = kReassemblySize;
    const int primary = (address.flags & IFA_F_SECONDARY) == 0 ? MIB_IPADDR_PRIMARY : 0;
    const int dynamic = (address.flags & IFA_F_PERMANENT) == 0 ? MIB_IPADDR_DYNAMIC : 0;
    row.wType = static_cast<USHORT>(primary | dynamic);
    return row;
}

bool is_lower(const MIB_IPADDRROW& row, const MIB_IPADDRROW& other) {
    return ntohl(row.dwAddr) < ntohl(other.dwAddr);
}

std::vector<MIB_IPADDRROW> rows_of(const std::vector<NetworkAddress>& addresses, bool by_address) {
    std::vector<MIB_IPADDRROW> rows;
    for (const NetworkAddress& address : addresses) {
        if (address.local.family == AF_INET) {
            const MIB_IPADDRROW row = row_of(address);
            const auto place =
                by_address ? std::upper_bound(rows.begin(), rows.end(), row, is_lower) : rows.end();
            rows.insert(place, row);
        }
    }
    return rows;
}

DWORD address_table(void* table, ULONG* size, bool by_address) {
    std::vector<NetworkAddress> addresses;
    if (const int error = read_addresses(addresses)) {
        return static_cast<DWORD>(error);
    }
    const std::vector<MIB_IPADDRROW> rows = rows_of(addresses, by_address);
    if (rows.empty()) {
        return ERROR_NO_DATA;
    }
    const std::size_t row_bytes = rows.size() * sizeof rows[0];
    if (!fits(table, kRows + row_bytes, size)) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    store(table, static_cast<DWORD>(rows.size()));
    std::memcpy(static_cast<BYTE*>(table) + kRows, rows.data(), row_bytes);
    return NO_ERROR;
}

} // namespace
} // namespace kalto

DWORD GetIpAddrTable(PMIB_IPADDRTABLE pIpAddrTable, PULONG pdwSize, BOOL bOrder) {
    if (pdwSize == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    return kalto::guarded_table([&] { return kalto::address_table(pIpAddrTable, pdwSize, bOrder != FALSE); });
}
