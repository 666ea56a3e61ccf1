// The slow side of carving: free lists, used-up blocks, exhausted memory.
#include "xml/record_carver.h"

namespace kalto {

CVurlNode* RecordCarver::node_from_document() {
    give_block_back();
    CVurlNode* node = dom_->AllocNode();
    take_block();
    return node;
}

CVurlAttribute* RecordCarver::attribute_from_document() {
    give_block_back();
    CVurlAttribute* attribute = dom_->AllocAttribute();
    take_block();
    return attribute;
}

void RecordCarver::take_block() {
    block_ = dom_->m_pObjectPool;
    node_size_ = dom_->m_nNodeSize == 0 ? kNodeFields : dom_->m_nNodeSize;
    next_ = end_ = nullptr;
    const bool recycles = dom_->m_pFreeNodes != nullptr || dom_->m_pFreeAttributes != nullptr;
    if (block_ == nullptr || recycles || node_size_ < kNodeFields)
        return;
    next_ = pool_data(block_) + block_->nUsed;
    end_ = pool_data(block_) + block_->nSize;
}

void RecordCarver::give_block_back() {
    if (next_ != nullptr)
        block_->nUsed = static_cast<unsigned>(next_ - pool_data(block_));
}

} // namespace kalto
