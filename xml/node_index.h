// The elements of a long list, by address: open addressing with linear probing, at most half full.
#ifndef KALTO_XML_NODE_INDEX_H
#define KALTO_XML_NODE_INDEX_H

#include <cstddef>
#include <kalto/xml.h>

namespace kalto {

class NodeIndex {
  public:
    // Null when memory runs out; so is the result of grow, which leaves the index as it was.
    static NodeIndex* create(size_t expected);
    static void destroy(NodeIndex* index);
    NodeIndex(const NodeIndex&) = delete;
    NodeIndex& operator=(const NodeIndex&) = delete;

    bool contains(const CVurlNode* node) const { return slots_[find(node)] != nullptr; }
    // False when memory runs out. The node must not be in the index.
    bool add(const CVurlNode* node);
    void remove(const CVurlNode* node);

  private:
    NodeIndex() = default;
    ~NodeIndex() = default;
    size_t home(const void* key) const;
    size_t find(const CVurlNode* node) const;
    bool resize(size_t capacity);

    const void** slots_ = nullptr; // null: free
    size_t capacity_ = 0;          // a power of two
    size_t count_ = 0;
};

} // namespace kalto

#endif
