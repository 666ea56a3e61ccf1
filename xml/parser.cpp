// Parses a document's text in place: one pass, no copy, no recursion.
//
// Invariants while parsing:
// 1. The text ends in a zero byte, which is never overwritten by another; position_ never passes it.
// 2. levels_[0 .. depth_ - 1] are the open elements; levels_[depth_] is the last element closed among the
//    current siblings, or null.
// 3. node_ and attribute_ are zeroed records that belong to no element yet. Either is null when it could not
//    be allocated, which is reported when it is needed.
#include "xml/records.h"
#include "xml/scanner.h"
#include <climits>
#include <cstring>

using kalto::pool_data;

namespace {

constexpr unsigned kMaxDepth = 64;

class Parser {
  public:
    Parser(CVurlDOM* dom, CVurlNode* node, CVurlAttribute* attribute, char* text)
        : dom_(dom), node_(node), attribute_(attribute), position_(text) {
        levels_[0] = nullptr;
    }
    // 0, or the code of the first fault.
    unsigned parse();
    char* position() const { return position_; }
    CVurlNode* root() const { return levels_[0]; }
    void release_spares();

  private:
    unsigned markup();
    unsigned comment();
    unsigned cdata();
    unsigned end_tag();
    unsigned start_tag();
    unsigned attributes(signed char* stopped);
    unsigned attribute_value();
    unsigned open_element(bool has_content);
    void link();

    CVurlDOM* dom_;
    CVurlNode* node_;
    CVurlAttribute* attribute_;
    CVurlAttribute** tail_ = nullptr;
    char* position_;
    size_t shift_ = 0; // how far the current text has moved left
    unsigned depth_ = 0;
    unsigned pending_ = 0;
    CVurlNode* levels_[kMaxDepth + 1];
};

unsigned Parser::parse() {
    while (depth_ != 0 || levels_[0] == nullptr) {
        if (kalto::scan_text(&position_, '<', &shift_) == 0)
            return kalto::kIncomplete;
        if (const unsigned error = markup())
            return error;
    }
    return pending_;
}

// One piece of markup; position_ is behind its "<".
unsigned Parser::markup() {
    if (std::strncmp(position_, "![CDATA[", 8) == 0)
        return cdata();
    shift_ = 0;
    if (*position_ == '?') {
        size_t shift = 0;
        kalto::scan_text(&position_, '>', &shift);
        return 0;
    }
    if (std::strncmp(position_, "!--", 3) == 0)
        return comment();
    return *position_ == '/' ? end_tag() : start_tag();
}

unsigned Parser::comment() {
    char* end = std::strstr(position_ + 3, "-->");
    if (end == nullptr)
        return kalto::kUnterminatedComment;
    position_ = end + 3;
    return 0;
}

// The section stays in the text around it, markers included. Where entities before it have moved the text it
// moves along, and so does the text that follows.
unsigned Parser::cdata() {
    char* const begin = position_ - 1;
    char* end = std::strstr(begin + 9, "]]>");
    if (end == nullptr)
        return kalto::kUnterminatedCdata;
    position_ = end + 3;
    *begin = '<';
    if (shift_ != 0)
        std::memmove(begin - shift_, begin, static_cast<size_t>(position_ - begin));
    return 0;
}

unsigned Parser::end_tag() {
    const char* name = ++position_;
    if (kalto::scan_name(&position_) != '>')
        return kalto::kUnterminatedTag;
    ++position_;
    if (depth_ == 0)
        return kalto::kUnexpectedEndTag;
    CVurlNode* element = levels_[--depth_];
    if (std::strcmp(name, element->pszTagName) != 0)
        return kalto::kMismatchedEndTag;
    if (element->pFirstChild != nullptr || *element->pszData == '\0')
        element->pszData = nullptr;
    return 0;
}

unsigned Parser::start_tag() {
    if (node_ == nullptr)
        return kalto::kNoMemory;
    node_->pszTagName = position_;
    tail_ = &node_->pFirstAttribute;
    signed char stopped = kalto::scan_name(&position_);
    if (const unsigned error = attributes(&stopped))
        return error;
    if (pending_ != 0)
        return pending_;
    if (stopped == '\0')
        return kalto::kUnterminatedTag;
    if (stopped == '/') {
        if (position_[1] != '>')
            return kalto::kInvalidTag;
        position_ += 2;
    } else {
        node_->pszData = ++position_;
    }
    return open_element(stopped == '>');
}

unsigned Parser::attributes(signed char* stopped) {
    while (*stopped != '/' && *stopped != '>' && *stopped != '\0') {
        if (attribute_ == nullptr)
            return kalto::kNoMemory;
        attribute_->pszName = position_;
        if (kalto::scan_name(&position_) != '=')
            return kalto::kUnterminatedAttribute;
        if (const unsigned error = attribute_value())
            return error;
        *tail_ = attribute_;
        tail_ = &attribute_->pNext;
        attribute_ = dom_->AllocAttribute();
        if (attribute_ == nullptr)
            return kalto::kNoMemory;
        while (kalto::is_blank(*position_) || static_cast<signed char>(*position_) < 0)
            ++position_;
        *stopped = static_cast<signed char>(*position_);
    }
    return 0;
}

unsigned Parser::attribute_value() {
    do
        ++position_;
    while (kalto::is_blank(*position_));
    const char quote = *position_;
    if (quote != '"' && quote != '\'')
        return kalto::kMissingValue;
    attribute_->pszValue = ++position_;
    size_t shift = 0;
    return kalto::scan_text(&position_, quote, &shift) == 0 ? kalto::kUnterminatedAttribute : 0u;
}

unsigned Parser::open_element(bool has_content) {
    link();
    if (has_content) {
        if (depth_ < kMaxDepth)
            levels_[++depth_] = nullptr;
        else
            pending_ = kalto::kTooDeep;
    }
    node_ = dom_->AllocNode();
    return node_ == nullptr ? kalto::kNoMemory : 0u;
}

void Parser::link() {
    if (CVurlNode* previous = levels_[depth_]) {
        node_->pParent = previous->pParent;
        previous->pNextSibling = node_;
    } else if (depth_ > 0) {
        node_->pParent = levels_[depth_ - 1];
        node_->pParent->pFirstChild = node_;
    }
    levels_[depth_] = node_;
}

// Attributes that a faulty tag collected are linked to the spare node and stay with it.
void Parser::release_spares() {
    if (node_ != nullptr)
        dom_->FreeNode(node_);
    if (attribute_ != nullptr)
        dom_->FreeAttribute(attribute_);
}

// The text at the start of the newest string block, or null when there is none that ends in a zero byte.
char* document_text(CVurlMemPool* block) {
    if (block == nullptr || block->nUsed == 0)
        return nullptr;
    char* text = pool_data(block);
    const bool ends = text[block->nUsed - 1] == '\0' || std::memchr(text, 0, block->nUsed) != nullptr;
    return ends ? text : nullptr;
}

} // namespace

char* CVurlDOM::CreateDocBuffer(unsigned n) {
    FreeDOM(false);
    if (n == UINT_MAX)
        return nullptr;
    char* buffer = AllocString(n + 1);
    if (buffer == nullptr)
        return nullptr;
    buffer[n] = '\0';
    m_pObjectPool = CVurlMemPool::Create(n);
    return buffer;
}

int CVurlDOM::ReadDoc() {
    CVurlNode* node = AllocNode();
    CVurlAttribute* attribute = AllocAttribute();
    m_nDocSize = 0;
    char* text = document_text(m_pStringPool);
    Parser parser(this, node, attribute, text);
    unsigned error = 0;
    if (node == nullptr && attribute == nullptr) {
        error = kalto::kNoMemory;
    } else if (text == nullptr) {
        error = kalto::kIncomplete;
    } else {
        ScanForDocStyle(text);
        error = parser.parse();
    }
    parser.release_spares();
    if (error != 0) {
        m_nError = error;
        m_nDocSize = static_cast<unsigned>(parser.position() - text);
        return 0;
    }
    m_pRoot = parser.root(); // Deliberate: m_nError keeps an earlier failure, which applications report later
    return 1;
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

char* CVurlDOM::CreateDOM(const char* rootName) {
    FreeDOM(false);
    m_pRoot = AllocNode();
    if (m_pRoot == nullptr)
        return nullptr;
    char* name = AllocTagName(rootName);
    m_pRoot->pszTagName = name;
    if (name == nullptr)
        m_pRoot = nullptr;
    return name;
}
