// Lays a linked table of records, texts and addresses out in a caller's buffer.
#ifndef KALTO_SYSTEM_TABLE_PIECES_H
#define KALTO_SYSTEM_TABLE_PIECES_H

#include "system/network_tables.h"

#include <cstddef>

namespace kalto {

// Hands out the caller's buffer piece by piece, each piece aligned against its start. Without a buffer it
// only counts, so that the needed size and the table come from the same steps.
class Pieces {
  public:
    explicit Pieces(void* buffer) : buffer_(static_cast<BYTE*>(buffer)), used_(0) {}

    std::size_t used() const { return used_; }

    // The place of the next piece; null when counting.
    BYTE* take(std::size_t size) {
        BYTE* const place = buffer_ == nullptr ? nullptr : buffer_ + used_;
        used_ += (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
        return place;
    }

    template <typename T> T* copy(const T* items, std::size_t count) {
        BYTE* const place = take(count * sizeof(T));
        if (place != nullptr) {
            std::memcpy(place, items, count * sizeof(T));
        }
        return reinterpret_cast<T*>(place);
    }

  private:
    BYTE* buffer_;
    std::size_t used_;
};

// Appends pieces to a list that is linked through their Next.
template <typename Entry> class Chain {
  public:
    Chain(Pieces& pieces, Entry*& first) : pieces_(pieces), link_(reinterpret_cast<BYTE*>(&first)) {}

    void add(const Entry& entry) {
        Entry* const place = pieces_.copy(&entry, 1);
        if (place != nullptr) {
            store_pointer(link_, place);
            link_ = reinterpret_cast<BYTE*>(place) + offsetof(Entry, Next);
        }
    }

  private:
    Pieces& pieces_;
    BYTE* link_;
};

} // namespace kalto

#endif
