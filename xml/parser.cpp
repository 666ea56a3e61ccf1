// Parses a document's text in place: one pass, no copy, no recursion.
//
// Invariants while parsing:
// 1. The text ends in a zero byte, which is never overwritten by another; the position never passes it.
// 2. open_[0 .. depth_ - 1] are the open elements; last_ is the last element closed among the current
//    siblings, or null.
// 3. node_ and attribute_ belong to no element yet. Either is null when it could not be allocated, which is
//    reported when it is needed.
//
// The position is a local variable of parse(), handed down by reference: stores into the text could otherwise
// change it as far as the compiler knows, and it would live in memory.
#include "xml/chunk.h"
#include "xml/parser_guesses.h"
#include "xml/record_carver.h"
#include "xml/scanner.h"
#include "xml/well_formed.h"
#include <climits>
#include <cstring>
#include <iterator>

using kalto::Chunk;
using kalto::pool_data;

namespace {

constexpr unsigned kMaxDepth = 64;

class Parser {
  public:
    // block_end is null when there is no text. Without keeping, records are used again and no tree comes out.
    Parser(CVurlDOM* dom, const char* block_end, bool keeps)
        : keeps_(keeps), records_(dom), node_(records_.node()), attribute_(records_.attribute()),
          block_end_(block_end), last_chunk_(block_end == nullptr ? nullptr : block_end - 16) {}
    // 0, or the code of the first fault; *stopped is where it was found.
    unsigned parse(char* text, char** stopped);
    CVurlNode* root() const { return last_; }
    CVurlNode* spare_node() const { return node_; }
    CVurlAttribute* spare_attribute() const { return attribute_; }

  private:
    KALTO_HOT bool text(char*& p);
    KALTO_HOT bool skip_markup(char*& p, unsigned& error);
    bool no_element(char** position, unsigned* error);
    bool cdata(char** position, unsigned* error);
    KALTO_HOT unsigned end_tag(char*& p);
    KALTO_HOT unsigned start_tag(char*& p);
    KALTO_HOT unsigned attributes(char*& p, signed char& stopped);
    KALTO_HOT unsigned one_attribute(char*& p, kalto::Opening& usual);
    [[gnu::noinline]] unsigned unusual_opening(char** position, char* quote, kalto::Opening* usual) const;
    KALTO_HOT unsigned add_element(const char* data);
    template <char quote> KALTO_HOT bool value(char*& p);
    KALTO_HOT bool slow_text(char*& p, char stop, size_t* shift) const;
    KALTO_HOT signed char name(char*& p) const;

    bool keeps_;
    kalto::RecordCarver records_;
    CVurlNode* node_;
    CVurlAttribute* attribute_;
    const char* block_end_;
    const char* last_chunk_; // where the last sixteen bytes of the text's block begin
    kalto::Repeated gap_{'<'};
    kalto::Opening openings_[8]; // of the first attribute, the second ... of the elements before
    size_t shift_ = 0;           // how far the current text has moved left
    unsigned depth_ = 0;
    unsigned pending_ = 0;
    CVurlNode* last_ = nullptr;
    CVurlNode* open_[kMaxDepth] = {};
};

unsigned Parser::parse(char* text_begin, char** stopped) {
    char* p = text_begin;
    unsigned error = 0;
    while (error == 0 && (depth_ != 0 || last_ == nullptr)) {
        if (!text(p))
            error = kalto::kIncomplete;
        else if (*p == '/')
            error = end_tag(p);
        else if ((*p != '!' && *p != '?') || !skip_markup(p, error))
            error = start_tag(p);
    }
    *stopped = p;
    return error != 0 ? error : pending_;
}

// Up to and over the next "<"; false when there is none. Mostly that is the line break and the indentation of
// the tag before: they are compared as a whole, so that the place of the tag need not wait for a scan.
bool Parser::text(char*& p) {
    if (shift_ != 0)
        return slow_text(p, '<', &shift_);
    if (p <= last_chunk_ && gap_.stands_at(p)) {
        p += gap_.length();
        p[-1] = '\0';
        return true;
    }
    char* const begin = p;
    while (p <= last_chunk_) {
        const kalto::Flags flags = kalto::text_end(Chunk(p));
        if (!flags.any()) {
            p += Chunk::kSize;
            continue;
        }
        p += flags.first();
        if (*p != '<')
            break;
        gap_.remember(begin, static_cast<size_t>(p + 1 - begin));
        *p++ = '\0';
        return true;
    }
    return slow_text(p, '<', &shift_);
}

bool Parser::slow_text(char*& p, char stop, size_t* shift) const {
    char* position = p;
    const signed char stopped = kalto::scan_text(&position, stop, shift, block_end_);
    p = position;
    return stopped != 0;
}

// Behind "<", at "!" or "?": passes over what is no element; false for a tag whose name begins with "!".
bool Parser::skip_markup(char*& p, unsigned& error) {
    char* position = p;
    unsigned found = 0;
    const bool skipped =
        std::strncmp(p, "![CDATA[", 8) == 0 ? cdata(&position, &found) : no_element(&position, &found);
    p = position;
    error = found;
    return skipped;
}

bool Parser::no_element(char** position, unsigned* error) {
    shift_ = 0;
    if (**position == '?') {
        size_t shift = 0;
        kalto::scan_text(position, '>', &shift, block_end_); // an unterminated one ends the text
        return true;
    }
    if (std::strncmp(*position, "!--", 3) != 0)
        return false;
    char* end = std::strstr(*position + 3, "-->");
    if (end == nullptr)
        *error = kalto::kUnterminatedComment;
    else
        *position = end + 3;
    return true;
}

// The section stays in the text around it, markers included. Where entities before it have moved the text it
// moves along, and so does the text that follows.
bool Parser::cdata(char** position, unsigned* error) {
    char* const begin = *position - 1;
    char* end = std::strstr(begin + 9, "]]>");
    if (end == nullptr) {
        *error = kalto::kUnterminatedCdata;
        return true;
    }
    *position = end + 3;
    *begin = '<';
    if (shift_ != 0)
        std::memmove(begin - shift_, begin, static_cast<size_t>(*position - begin));
    return true;
}

unsigned Parser::end_tag(char*& p) {
    shift_ = 0;
    const char* const written = ++p;
    CVurlNode* const element = depth_ == 0 ? nullptr : open_[depth_ - 1];
    const char* name_left = element == nullptr ? "" : element->pszTagName;
    while (*name_left != '\0' && *name_left == *p) {
        ++name_left;
        ++p;
    }
    const bool matches = *name_left == '\0' && kalto::ends_name(*p);
    if (!matches)
        p = const_cast<char*>(written);
    if (name(p) != '>')
        return kalto::kUnterminatedTag;
    ++p;
    if (element == nullptr)
        return kalto::kUnexpectedEndTag;
    --depth_;
    if (!matches)
        return kalto::kMismatchedEndTag;
    if (last_ == nullptr && *element->pszData == '\0')
        element->pszData = nullptr;
    last_ = element;
    return 0;
}

unsigned Parser::start_tag(char*& p) {
    shift_ = 0;
    if (node_ == nullptr)
        return kalto::kNoMemory;
    node_->pszTagName = p;
    signed char stopped = name(p);
    if (const unsigned error = attributes(p, stopped))
        return error;
    if (pending_ != 0)
        return pending_;
    if (stopped == '>')
        return add_element(++p);
    if (stopped == '\0')
        return kalto::kUnterminatedTag;
    if (p[1] != '>')
        return kalto::kInvalidTag;
    p += 2;
    return add_element(nullptr);
}

// A name that ends at *p, or later. Names are short and come again and again: looking at each byte is
// predicted well, and the place of what follows need not wait for it.
signed char Parser::name(char*& p) const {
    while (!kalto::kEndsName[static_cast<unsigned char>(*p)])
        ++p;
    char* position = p;
    const signed char stopped = kalto::end_name(&position);
    p = position;
    return stopped;
}

unsigned Parser::attributes(char*& p, signed char& stopped) {
    CVurlAttribute** tail = &node_->pFirstAttribute;
    kalto::Opening* usual = openings_;
    while (stopped != '/' && stopped != '>' && stopped != '\0') {
        CVurlAttribute* const attribute = attribute_;
        *tail = nullptr;
        if (attribute == nullptr)
            return kalto::kNoMemory;
        if (const unsigned error = one_attribute(p, *usual))
            return error;
        *tail = attribute;
        tail = &attribute->pNext;
        if (keeps_)
            attribute_ = records_.attribute();
        if (attribute_ == nullptr) {
            *tail = nullptr;
            return kalto::kNoMemory;
        }
        if (usual != std::end(openings_) - 1)
            ++usual;
        while (kalto::is_blank(*p) || static_cast<signed char>(*p) < 0)
            ++p;
        stopped = static_cast<signed char>(*p);
    }
    *tail = nullptr;
    return 0;
}

unsigned Parser::one_attribute(char*& p, kalto::Opening& usual) {
    char quote = '"';
    attribute_->pszName = p;
    if (p <= last_chunk_ && usual.stands_at(p)) {
        p = usual.pass(p);
    } else {
        char* position = p;
        const unsigned error = unusual_opening(&position, &quote, &usual);
        p = position;
        if (error != 0)
            return error;
    }
    attribute_->pszValue = p;
    const bool ends = quote == '"' ? value<'"'>(p) : value<'\''>(p);
    return ends ? 0u : kalto::kUnterminatedAttribute;
}

// Passes over an attribute up to its value. Remembers what has been passed, to recognise the next one.
unsigned Parser::unusual_opening(char** position, char* quote, kalto::Opening* usual) const {
    char* const begin = *position;
    while (!kalto::ends_name(**position))
        ++*position;
    char* const name_end = *position;
    const char behind_name = *name_end;
    if (kalto::end_name(position) != '=')
        return kalto::kUnterminatedAttribute;
    do
        ++*position;
    while (kalto::is_blank(**position));
    *quote = **position;
    if (*quote != '"' && *quote != '\'')
        return kalto::kMissingValue;
    ++*position;
    if (*quote == '"' && begin <= last_chunk_)
        usual->remember(begin, name_end, behind_name, *position);
    return 0;
}

template <char quote> bool Parser::value(char*& p) {
    while (p <= last_chunk_) {
        const kalto::Flags flags = kalto::value_end<quote>(Chunk(p));
        if (!flags.any()) {
            p += Chunk::kSize;
            continue;
        }
        p += flags.first();
        if (*p != quote)
            break;
        *p++ = '\0';
        return true;
    }
    size_t shift = 0;
    return slow_text(p, quote, &shift);
}

// data is null for an element that its own tag closes.
unsigned Parser::add_element(const char* data) {
    CVurlNode* const node = node_;
    CVurlNode* const parent = depth_ == 0 ? nullptr : open_[depth_ - 1];
    node->pszData = data;
    node->pFirstChild = nullptr;
    node->pNextSibling = nullptr;
    node->pParent = parent;
    if (last_ != nullptr) {
        last_->pNextSibling = node;
    } else if (parent != nullptr) {
        parent->pFirstChild = node;
        parent->pszData = nullptr; // an element with children keeps no text
    }
    last_ = node;
    if (data != nullptr && depth_ < kMaxDepth) {
        open_[depth_++] = node;
        last_ = nullptr;
    } else if (data != nullptr) {
        pending_ = kalto::kTooDeep;
    }
    if (keeps_ || data != nullptr) // an open element's name is needed for its end tag
        node_ = records_.node();
    return node_ == nullptr ? kalto::kNoMemory : 0u;
}

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
