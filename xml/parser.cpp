// The steps of the parser.
//
// The position is a local variable of parse(), handed down by reference: stores into the text could otherwise
// change it as far as the compiler knows, and it would live in memory.
#include "xml/parser.h"
#include "xml/scanner.h"
#include <cstring>
#include <iterator>

namespace kalto {

unsigned Parser::parse(char* text_begin, char** stopped) {
    char* p = text_begin;
    unsigned error = 0;
    while (error == 0 && (depth_ != 0 || last_ == nullptr)) {
        if (!text(p))
            error = kIncomplete;
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
        const Flags flags = text_end(Chunk(p));
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
    const signed char stopped = scan_text(&position, stop, shift, block_end_);
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
        scan_text(position, '>', &shift, block_end_); // an unterminated one ends the text
        return true;
    }
    if (std::strncmp(*position, "!--", 3) != 0)
        return false;
    char* end = std::strstr(*position + 3, "-->");
    if (end == nullptr)
        *error = kUnterminatedComment;
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
        *error = kUnterminatedCdata;
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
    const bool matches = *name_left == '\0' && ends_name(*p);
    if (!matches)
        p = const_cast<char*>(written);
    if (name(p) != '>')
        return kUnterminatedTag;
    ++p;
    if (element == nullptr)
        return kUnexpectedEndTag;
    --depth_;
    if (!matches)
        return kMismatchedEndTag;
    if (last_ == nullptr && *element->pszData == '\0')
        element->pszData = nullptr;
    last_ = element;
    return 0;
}

unsigned Parser::start_tag(char*& p) {
    shift_ = 0;
    if (node_ == nullptr)
        return kNoMemory;
    node_->pszTagName = p;
    signed char stopped = name(p);
    if (const unsigned error = attributes(p, stopped))
        return error;
    if (pending_ != 0)
        return pending_;
    if (stopped == '>')
        return add_element(++p);
    if (stopped == '\0')
        return kUnterminatedTag;
    if (p[1] != '>')
        return kInvalidTag;
    p += 2;
    return add_element(nullptr);
}

// A name that ends at *p, or later. Names are short and come again and again: looking at each byte is
// predicted well, and the place of what follows need not wait for it.
signed char Parser::name(char*& p) const {
    while (!kEndsName[static_cast<unsigned char>(*p)])
        ++p;
    char* position = p;
    const signed char stopped = end_name(&position);
    p = position;
    return stopped;
}

unsigned Parser::attributes(char*& p, signed char& stopped) {
    CVurlAttribute** tail = &node_->pFirstAttribute;
    Opening* usual = openings_;
    while (stopped != '/' && stopped != '>' && stopped != '\0') {
        CVurlAttribute* const attribute = attribute_;
        *tail = nullptr;
        if (attribute == nullptr)
            return kNoMemory;
        if (const unsigned error = one_attribute(p, *usual))
            return error;
        *tail = attribute;
        tail = &attribute->pNext;
        if (keeps_)
            attribute_ = records_.attribute();
        if (attribute_ == nullptr) {
            *tail = nullptr;
            return kNoMemory;
        }
        if (usual != std::end(openings_) - 1)
            ++usual;
        while (is_blank(*p) || static_cast<signed char>(*p) < 0)
            ++p;
        stopped = static_cast<signed char>(*p);
    }
    *tail = nullptr;
    return 0;
}

unsigned Parser::one_attribute(char*& p, Opening& usual) {
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
    return ends ? 0u : kUnterminatedAttribute;
}

// Passes over an attribute up to its value. Remembers what has been passed, to recognise the next one.
unsigned Parser::unusual_opening(char** position, char* quote, Opening* usual) const {
    char* const begin = *position;
    while (!ends_name(**position))
        ++*position;
    char* const name_end = *position;
    const char behind_name = *name_end;
    if (end_name(position) != '=')
        return kUnterminatedAttribute;
    do
        ++*position;
    while (is_blank(**position));
    *quote = **position;
    if (*quote != '"' && *quote != '\'')
        return kMissingValue;
    ++*position;
    if (*quote == '"' && begin <= last_chunk_)
        usual->remember(begin, name_end, behind_name, *position);
    return 0;
}

template <char quote> bool Parser::value(char*& p) {
    while (p <= last_chunk_) {
        const Flags flags = value_end<quote>(Chunk(p));
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
        pending_ = kTooDeep;
    }
    if (keeps_ || data != nullptr) // an open element's name is needed for its end tag
        node_ = records_.node();
    return node_ == nullptr ? kNoMemory : 0u;
}

} // namespace kalto
