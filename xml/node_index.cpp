// The hash table behind long lists.
#include "xml/node_index.h"
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kSmallest = 64;
constexpr char kNoNode = 0;

// A list may hold one iterator that stands nowhere; a slot needs an address for it.
const void* key_for(const CVurlNode* node) {
    return node == nullptr ? static_cast<const void*>(&kNoNode) : node;
}

} // namespace

namespace kalto {

NodeIndex* NodeIndex::create(size_t expected) {
    auto* index = new (std::nothrow) NodeIndex;
    size_t capacity = kSmallest;
    while (capacity / 2 < expected)
        capacity *= 2;
    if (index != nullptr && !index->resize(capacity)) {
        destroy(index);
        return nullptr;
    }
    return index;
}

void NodeIndex::destroy(NodeIndex* index) {
    if (index == nullptr)
        return;
    std::free(index->slots_);
    delete index;
}

// Records lie side by side: the multiplication spreads them, its high bits are the good ones.
size_t NodeIndex::home(const void* key) const {
    constexpr auto kSpread = static_cast<size_t>(0x9E3779B97F4A7C15u);
    const size_t hash = reinterpret_cast<size_t>(key) * kSpread;
    return (hash ^ (hash >> (sizeof(size_t) * 4))) & (capacity_ - 1);
}

size_t NodeIndex::find(const CVurlNode* node) const {
    const void* key = key_for(node);
    size_t slot = home(key);
    while (slots_[slot] != nullptr && slots_[slot] != key)
        slot = (slot + 1) & (capacity_ - 1);
    return slot;
}

bool NodeIndex::add(const CVurlNode* node) {
    if (count_ >= capacity_ / 2 && !resize(capacity_ * 2))
        return false;
    slots_[find(node)] = key_for(node);
    ++count_;
    return true;
}

// Keys behind the freed slot that could no longer be reached over it move up.
void NodeIndex::remove(const CVurlNode* node) {
    size_t gap = find(node);
    if (slots_[gap] == nullptr)
        return;
    for (size_t slot = gap;;) {
        slot = (slot + 1) & (capacity_ - 1);
        if (slots_[slot] == nullptr)
            break;
        const size_t distance = (slot - home(slots_[slot])) & (capacity_ - 1);
        if (distance >= ((slot - gap) & (capacity_ - 1))) {
            slots_[gap] = slots_[slot];
            gap = slot;
        }
    }
    slots_[gap] = nullptr;
    --count_;
}

bool NodeIndex::resize(size_t capacity) {
    auto** slots = static_cast<const void**>(std::calloc(capacity, sizeof(void*)));
    if (slots == nullptr)
        return false;
    const void** const old = slots_;
    const size_t old_capacity = capacity_;
    slots_ = slots;
    capacity_ = capacity;
    for (size_t i = 0; i < old_capacity; ++i) {
        if (old[i] == nullptr)
            continue;
        size_t slot = home(old[i]);
        while (slots_[slot] != nullptr)
            slot = (slot + 1) & (capacity_ - 1);
        slots_[slot] = old[i];
    }
    std::free(old);
    return true;
}

} // namespace kalto
