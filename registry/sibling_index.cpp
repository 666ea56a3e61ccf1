// The index over the children of one element: the records of the chain, sorted, and a hash table over their
// names.
#include "registry/sibling_index.h"

#include "registry/registry_document.h"
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace kalto {
namespace {

// The first siblings are looked at one by one; longer chains are worth an index.
constexpr long kWalkedSiblings = 12;
constexpr size_t kMostIndices = 0xFFFF;
constexpr size_t kFirstRoom = 32;

// The locale's table of lower-case letters, by which strcasecmp compares. Its address tells locales apart.
const int32_t* folding_table() {
    return *__ctype_tolower_loc();
}

uint32_t hash_of(const char* name) {
    const int32_t* fold = folding_table();
    uint32_t hash = 2166136261u;
    for (; *name != '\0'; ++name)
        hash = (hash ^ static_cast<uint32_t>(fold[static_cast<unsigned char>(*name)])) * 16777619u;
    return hash ^ (hash >> 15);
}

template <typename T> bool resize(T**& block, size_t count) {
    void* larger = realloc(static_cast<void*>(block), count * sizeof(void*));
    if (larger != nullptr)
        block = static_cast<T**>(larger);
    return larger != nullptr;
}

class SiblingIndex {
  public:
    explicit SiblingIndex(CVurlNode* parent) : parent_(parent), folding_(folding_table()) {}
    SiblingIndex(const SiblingIndex&) = delete;
    SiblingIndex& operator=(const SiblingIndex&) = delete;
    ~SiblingIndex() {
        free(static_cast<void*>(records_));
        free(slots_);
    }

    bool build();
    bool is_over(const CVurlNode* parent) const { return parent_ == parent; }
    bool is_current() const { return folding_ == folding_table(); }
    CVurlNode* match(const char* tag, const char* name) const;
    CVurlNode* place(const char* tag, const char* name);
    bool insert(CVurlNode* node);
    bool remove(CVurlNode* node);

  private:
    struct Slot {
        CVurlNode* node;
        uint32_t hash;
    };

    size_t first_behind(const char* tag, const char* name) const;
    bool insert_record(size_t position, CVurlNode* node);
    bool hash_in(CVurlNode* node);
    void hash_out(const CVurlNode* node);
    bool grow_table();

    CVurlNode* parent_;
    const int32_t* folding_;
    CVurlNode** records_ = nullptr;
    size_t count_ = 0;
    size_t room_ = 0;
    size_t place_ = 0;          // where the last place() would put a new record
    CVurlNode* last_ = nullptr; // the last child
    bool strict_ = true;
    Slot* slots_ = nullptr; // a power of two of them, at most half full, searched linearly
    size_t slot_count_ = 0;
};

bool SiblingIndex::build() {
    for (CVurlNode* child = parent_->pFirstChild; child != nullptr; child = child->pNextSibling) {
        last_ = child;
        if (count_ != 0 && compare(records_[count_ - 1], child->pszTagName, name_of(child)) >= 0)
            strict_ = false;
        else if (!insert_record(count_, child))
            return false;
    }
    return true;
}

CVurlNode* SiblingIndex::match(const char* tag, const char* name) const {
    const uint32_t hash = hash_of(name);
    for (size_t i = hash; slots_[i & (slot_count_ - 1)].node != nullptr; ++i) {
        const Slot& slot = slots_[i & (slot_count_ - 1)];
        if (slot.hash == hash && compare(slot.node, tag, name) == 0)
            return slot.node;
    }
    return nullptr;
}

// The first record that sorts after the sought pair, which none of them matches. Ascending insertion is
// answered by the last record.
size_t SiblingIndex::first_behind(const char* tag, const char* name) const {
    if (compare(records_[count_ - 1], tag, name) < 0)
        return count_;
    size_t low = 0;
    size_t high = count_ - 1;
    while (low < high) {
        const size_t middle = low + (high - low) / 2;
        if (compare(records_[middle], tag, name) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

// The child in front of the one the walk stops at.
CVurlNode* SiblingIndex::place(const char* tag, const char* name) {
    place_ = first_behind(tag, name);
    if (place_ == count_)
        return last_;
    if (place_ == 0)
        return nullptr;
    CVurlNode* before = records_[place_ - 1];
    while (before->pNextSibling != records_[place_])
        before = before->pNextSibling;
    return before;
}

// A new element sorts after all in front of it and before the record it stands in front of: it is a record,
// and the others stay what they are.
bool SiblingIndex::insert(CVurlNode* node) {
    if (node->pNextSibling == nullptr)
        last_ = node;
    return insert_record(place_, node);
}

bool SiblingIndex::insert_record(size_t position, CVurlNode* node) {
    if (count_ == room_) {
        const size_t room = room_ == 0 ? kFirstRoom : room_ * 2;
        if (!resize(records_, room))
            return false;
        room_ = room;
    }
    if (!hash_in(node))
        return false;
    std::copy_backward(records_ + position, records_ + count_, records_ + count_ + 1);
    records_[position] = node;
    ++count_;
    return true;
}

// False when the chain cannot be described any more, and the index must go.
bool SiblingIndex::remove(CVurlNode* node) {
    if (!strict_ || count_ < 2)
        return false;
    const size_t position =
        records_[count_ - 1] == node ? count_ - 1 : first_behind(node->pszTagName, name_of(node));
    if (records_[position] != node)
        return false;
    hash_out(node);
    std::copy(records_ + position + 1, records_ + count_, records_ + position);
    --count_;
    last_ = records_[count_ - 1];
    return true;
}

bool SiblingIndex::hash_in(CVurlNode* node) {
    if (slot_count_ < (count_ + 1) * 2 && !grow_table())
        return false;
    const uint32_t hash = hash_of(name_of(node));
    size_t i = hash;
    while (slots_[i & (slot_count_ - 1)].node != nullptr)
        ++i;
    slots_[i & (slot_count_ - 1)] = {node, hash};
    return true;
}

bool SiblingIndex::grow_table() {
    const size_t larger = slot_count_ == 0 ? kFirstRoom * 2 : slot_count_ * 2;
    auto* slots = static_cast<Slot*>(calloc(larger, sizeof(Slot)));
    if (slots == nullptr)
        return false;
    for (size_t old = 0; old < slot_count_; ++old) {
        if (slots_[old].node == nullptr)
            continue;
        size_t i = slots_[old].hash;
        while (slots[i & (larger - 1)].node != nullptr)
            ++i;
        slots[i & (larger - 1)] = slots_[old];
    }
    free(slots_);
    slots_ = slots;
    slot_count_ = larger;
    return true;
}

// Empties the node's slot and moves up what only the full slot had pushed away.
void SiblingIndex::hash_out(const CVurlNode* node) {
    const size_t mask = slot_count_ - 1;
    size_t hole = hash_of(name_of(node)) & mask;
    while (slots_[hole].node != node)
        hole = (hole + 1) & mask;
    for (size_t i = (hole + 1) & mask; slots_[i].node != nullptr; i = (i + 1) & mask) {
        const size_t wanted = slots_[i].hash & mask;
        if (((i - wanted) & mask) >= ((i - hole) & mask)) {
            slots_[hole] = slots_[i];
            hole = i;
        }
    }
    slots_[hole].node = nullptr;
}

// All indices; an element's user data holds the position in this table plus one.
SiblingIndex** g_indices = nullptr;
size_t g_indexCount = 0;
size_t g_indexRoom = 0;

void drop_index(CVurlNode* parent) {
    SiblingIndex*& entry = g_indices[mark_of(parent).index - 1];
    delete entry;
    entry = nullptr;
    mark_of(parent).index = 0;
}

SiblingIndex* existing_index(CVurlNode* parent) {
    const size_t number = mark_of(parent).index;
    if (number == 0 || number > g_indexCount)
        return nullptr;
    SiblingIndex* index = g_indices[number - 1];
    if (index == nullptr || !index->is_over(parent))
        return nullptr; // a number from before all indices were dropped
    if (index->is_current())
        return index;
    drop_index(parent);
    return nullptr;
}

SiblingIndex* new_index(CVurlNode* parent) {
    if (g_indexCount == kMostIndices)
        drop_indices();
    if (g_indexCount == g_indexRoom) {
        const size_t room = g_indexRoom == 0 ? kFirstRoom : g_indexRoom * 2;
        if (!resize(g_indices, room))
            return nullptr;
        g_indexRoom = room;
    }
    auto* index = new (std::nothrow) SiblingIndex(parent);
    if (index == nullptr || !index->build()) {
        delete index;
        return nullptr;
    }
    g_indices[g_indexCount++] = index;
    mark_of(parent).index = static_cast<unsigned short>(g_indexCount);
    return index;
}

} // namespace

bool walk_to_place(CVurlNode* parent, const char* tag, const char* name, long limit, Place& place) {
    place = {nullptr, nullptr};
    for (CVurlNode* child = parent->pFirstChild; child != nullptr; child = child->pNextSibling) {
        if (limit-- == 0)
            return false;
        const int order = compare(child, tag, name);
        if (order == 0)
            place = {child, nullptr};
        if (order >= 0)
            return true;
        place.before = child;
    }
    return true;
}

CVurlNode* find_match(CVurlNode* parent, const char* tag, const char* name) {
    Place place;
    SiblingIndex* index = existing_index(parent);
    if (index == nullptr) {
        if (walk_to_place(parent, tag, name, kWalkedSiblings, place))
            return place.match;
        index = new_index(parent);
    }
    if (index != nullptr)
        return index->match(tag, name);
    walk_to_place(parent, tag, name, -1, place);
    return place.match;
}

Place find_place(CVurlNode* parent, const char* tag, const char* name) {
    Place place;
    SiblingIndex* index = existing_index(parent);
    if (index == nullptr) {
        if (walk_to_place(parent, tag, name, kWalkedSiblings, place))
            return place;
        index = new_index(parent);
    }
    if (index == nullptr) {
        walk_to_place(parent, tag, name, -1, place);
        return place;
    }
    place.match = index->match(tag, name);
    place.before = place.match != nullptr ? nullptr : index->place(tag, name);
    return place;
}

void child_inserted(CVurlNode* parent, CVurlNode* node) {
    SiblingIndex* index = existing_index(parent);
    if (index != nullptr && !index->insert(node))
        drop_index(parent);
}

void child_removed(CVurlNode* parent, CVurlNode* node) {
    SiblingIndex* index = existing_index(parent);
    if (index != nullptr && !index->remove(node))
        drop_index(parent);
}

void drop_indices() {
    for (size_t i = 0; i < g_indexCount; ++i)
        delete g_indices[i];
    g_indexCount = 0;
}

} // namespace kalto
