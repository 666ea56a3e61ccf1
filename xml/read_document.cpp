// Reading a document: its buffer is parsed, and what came out is put into its fields.
#include "xml/parser.h"
#include "xml/well_formed.h"
#include <climits>
#include <cstring>

using kalto::Parser;
using kalto::pool_data;

namespace {

// The text at the start of the newest string block, or null when there is none that ends in a zero byte.
char* document_text(CVurlMemPool* block) {
    if (block == nullptr || block->nUsed == 0)
        return nullptr;
    char* text = pool_data(block);
    const bool ends = text[block->nUsed - 1] == '\0' || std::memchr(text, 0, block->nUsed) != nullptr;
    return ends ? text : nullptr;
}

// Parses the document's own buffer and reports in its fields.
int read_document(CVurlDOM* dom, bool keeps) {
    char* const text = document_text(dom->m_pStringPool);
    char* stopped = text;
    CVurlNode* node = nullptr;
    CVurlAttribute* attribute = nullptr;
    unsigned error = 0;
    dom->m_nDocSize = 0;
    {
        Parser parser(dom, text == nullptr ? nullptr : text + dom->m_pStringPool->nSize, keeps);
        if (parser.spare_node() == nullptr && parser.spare_attribute() == nullptr) {
            error = kalto::kNoMemory;
        } else if (text == nullptr) {
            error = kalto::kIncomplete;
        } else {
            dom->ScanForDocStyle(text);
            error = parser.parse(text, &stopped);
        }
        node = parser.spare_node();
        attribute = parser.spare_attribute();
        if (error == 0 && keeps)
            dom->m_pRoot = parser.root();
    }
    if (node != nullptr)
        dom->FreeNode(node);
    if (attribute != nullptr)
        dom->FreeAttribute(attribute);
    if (error == 0)
        return 1; // Deliberate: m_nError keeps an earlier failure, which applications report later
    dom->m_nError = error;
    dom->m_nDocSize = static_cast<unsigned>(stopped - text);
    return 0;
}

} // namespace

int CVurlDOM::ReadDoc() {
    return read_document(this, true);
}

bool kalto::is_well_formed(CVurlDOM* dom) {
    return read_document(dom, false) != 0;
}

int CVurlDOM::ReadDoc(const char* text) {
    const size_t length = std::strlen(text);
    char* buffer = length < UINT_MAX ? CreateDocBuffer(static_cast<unsigned>(length + 1)) : nullptr;
    if (buffer == nullptr) {
        m_nError = kalto::kNoMemory;
        return 0;
    }
    std::memcpy(buffer, text, length + 1);
    return ReadDoc();
}
