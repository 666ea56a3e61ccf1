// What the three network calls share: the size protocol and the result for a step that failed.
#ifndef KALTO_SYSTEM_NETWORK_TABLES_H
#define KALTO_SYSTEM_NETWORK_TABLES_H

#include "system/network.h"
#include <algorithm>
#include <iphlpapi.h>
#include <new>

namespace kalto {

// Whether a table of `needed` bytes fits the caller's buffer; if not, tells the caller how much it takes.
inline bool fits(const void* buffer, std::size_t needed, ULONG* size) {
    if (buffer != nullptr && *size >= needed) {
        return true;
    }
    *size = static_cast<ULONG>(needed);
    return false;
}

// The caller's buffer may stand anywhere, so records are built aside and copied in.
template <typename Record> void store(void* place, const Record& record) {
    std::memcpy(place, &record, sizeof record);
}
inline void store_pointer(void* place, const void* target) {
    std::memcpy(place, &target, sizeof target);
}

template <typename Item, typename Wanted> void keep_only(std::vector<Item>& items, Wanted wanted) {
    items.erase(std::remove_if(items.begin(), items.end(), [&](const Item& item) { return !wanted(item); }),
                items.end());
}

// Runs one of the calls with no exception leaving it for want of memory.
template <typename Call> DWORD guarded_table(Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

} // namespace kalto

#endif
