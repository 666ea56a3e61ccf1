#include "xml/xpath_visits.h"

#include <cstdlib>

namespace kalto {
namespace {

constexpr unsigned kFirstCapacity = 1024;

unsigned shift_of(unsigned step) {
    return step % 2 * 4;
}

} // namespace

Visits::~Visits() {
    free(m_slots);
    free(m_rows);
}

bool Visits::start(unsigned steps) {
    m_row_size = steps / 2 + 1;
    return grow();
}

Visits::Slot& Visits::slot_of(const CVurlNode* element) const {
    const uint64_t hash = reinterpret_cast<uintptr_t>(element) * uint64_t{0x9E3779B97F4A7C15};
    unsigned at = static_cast<unsigned>(hash >> 32) & (m_capacity - 1);
    while (m_slots[at].element && m_slots[at].element != element)
        at = (at + 1) & (m_capacity - 1);
    return m_slots[at];
}

bool Visits::grow() {
    const unsigned old_capacity = m_capacity;
    const unsigned capacity = old_capacity ? old_capacity * 2 : kFirstCapacity;
    if (capacity < old_capacity || m_row_size > SIZE_MAX / capacity)
        return false;
    void* rows = realloc(m_rows, capacity / 2 * m_row_size);
    if (!rows)
        return false;
    m_rows = static_cast<unsigned char*>(rows);
    Slot* slots = static_cast<Slot*>(calloc(capacity, sizeof(Slot)));
    if (!slots)
        return false;
    Slot* const old_slots = m_slots;
    m_slots = slots;
    m_capacity = capacity;
    for (unsigned at = 0; at < old_capacity; ++at) {
        if (old_slots[at].element)
            slot_of(old_slots[at].element) = old_slots[at];
    }
    free(old_slots);
    return true;
}

void Visits::add_row(Slot& slot, const CVurlNode* element) {
    slot = {element, m_count++};
    memset(m_rows + slot.row * m_row_size, 0, m_row_size);
}

unsigned Visits::get(const CVurlNode* element, unsigned step) const {
    const Slot& slot = slot_of(element);
    return slot.element ? m_rows[slot.row * m_row_size + step / 2] >> shift_of(step) & 15U : 0;
}

bool Visits::set(const CVurlNode* element, unsigned step, unsigned flags) {
    Slot* slot = &slot_of(element);
    if (!slot->element) {
        if (m_count == m_capacity / 2) {
            if (!grow())
                return false;
            slot = &slot_of(element);
        }
        add_row(*slot, element);
    }
    unsigned char& pair = m_rows[slot->row * m_row_size + step / 2];
    pair = static_cast<unsigned char>(pair | flags << shift_of(step));
    return true;
}

} // namespace kalto
