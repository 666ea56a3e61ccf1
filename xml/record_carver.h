// Carves records off a document's newest object block as the document would, without asking it each time.
#ifndef KALTO_XML_RECORD_CARVER_H
#define KALTO_XML_RECORD_CARVER_H

#include "xml/records.h"
#include <cstring>

namespace kalto {

// The document is asked while its free lists hold records and when the block is used up; it knows what has
// been carved then, and at the end.
class RecordCarver {
  public:
    explicit RecordCarver(CVurlDOM* dom) : dom_(dom) { take_block(); }
    ~RecordCarver() { give_block_back(); }
    RecordCarver(const RecordCarver&) = delete;
    RecordCarver& operator=(const RecordCarver&) = delete;

    // Null when memory runs out. The fields are left as they are; the user data is zero.
    CVurlNode* node() {
        char* record = next_;
        if (static_cast<size_t>(end_ - record) < node_size_)
            return node_from_document();
        next_ = record + node_size_;
        if (node_size_ != kNodeFields)
            std::memset(record + kNodeFields, 0, node_size_ - kNodeFields);
        return reinterpret_cast<CVurlNode*>(record);
    }
    CVurlAttribute* attribute() {
        char* record = next_;
        if (static_cast<size_t>(end_ - record) < sizeof(CVurlAttribute))
            return attribute_from_document();
        next_ = record + sizeof(CVurlAttribute);
        return reinterpret_cast<CVurlAttribute*>(record);
    }

  private:
    CVurlNode* node_from_document();
    CVurlAttribute* attribute_from_document();
    void take_block();
    void give_block_back();

    CVurlDOM* dom_;
    CVurlMemPool* block_ = nullptr;
    char* next_ = nullptr; // next_ == end_ while the document must be asked
    char* end_ = nullptr;
    size_t node_size_ = 0;
};

} // namespace kalto

#endif
