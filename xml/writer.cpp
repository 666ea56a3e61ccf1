// Turns a tree back into text: one pass that counts, one allocation, one pass that writes.
#include "xml/records.h"
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned kMaxIndent = 64; // levels below are written with the indentation of this one
constexpr char kSpaces[] = "\r\n"
                           "                                                                ";
constexpr char kTabs[] = "\r\n"
                         "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                         "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
static_assert(sizeof kSpaces == 2 + kMaxIndent + 1 && sizeof kTabs == sizeof kSpaces, "64 levels");

// The line breaks of a layout. Each is a piece of one of the two strings above.
class LineBreaks {
  public:
    explicit LineBreaks(unsigned style)
        : newline_((style & DOCSTYLE_LF) == 0     ? 0u
                   : (style & DOCSTYLE_CRLF) == 0 ? 1u
                                                  : 2u),
          indents_((style & (DOCSTYLE_TABS | DOCSTYLE_SPACES)) != 0),
          text_(((style & DOCSTYLE_TABS) != 0 ? kTabs : kSpaces) + 2 - newline_) {}
    const char* text() const { return text_; }
    unsigned length(unsigned depth) const { return newline_ + (indents_ ? std::min(depth, kMaxIndent) : 0u); }

  private:
    unsigned newline_;
    bool indents_;
    const char* text_;
};

// Where the pieces of a document go. The two known sinks are called directly; whatever else an application
// has selected is called through the document.
struct Counter {
    CVurlDOM* dom;
    void put(const char* text, unsigned length) const { dom->AccumulateDocSize(text, length); }
};

struct Copier {
    CVurlDOM* dom;
    void put(const char* text, unsigned length) const { dom->SendOutputToDocBuffer(text, length); }
};

struct Selected {
    CVurlDOM* dom;
    void put(const char* text, unsigned length) const { dom->Output(text, length); }
};

// The end of the CDATA section that begins at text, or null when none does.
const char* cdata_end(const char* text) {
    constexpr char kOpening[] = "<![CDATA[";
    constexpr size_t kLength = sizeof kOpening - 1;
    if (std::strncmp(text, kOpening, kLength) != 0)
        return nullptr;
    const char* end = std::strstr(text + kLength - 1, "]]>");
    return end == nullptr ? nullptr : end + 3;
}

// A section in a value would end the value at a double quote, and be decoded at a "&", when it is read back.
bool passes_in_value(const char* begin, const char* end) {
    return std::find_if(begin, end, [](char c) { return c == '"' || c == '&'; }) == end;
}

const char* entity_for(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    default:
        return "&apos;";
    }
}

template <class Sink> class Writer {
  public:
    Writer(Sink sink, CVurlDOM* dom) : sink_(sink), dom_(dom), breaks_(dom->m_nDocStyle) {}
    void document();
    void converted(const char* text, bool in_value);

  private:
    void put(const char* text) { put(text, std::strlen(text)); }
    void put(const char* text, size_t length);
    void line_break(unsigned depth) { put(breaks_.text(), breaks_.length(depth)); }
    void start_tag(const CVurlNode* node);
    void leaf(const CVurlNode* node);
    void end_tag(const CVurlNode* node);

    Sink sink_;
    CVurlDOM* dom_;
    LineBreaks breaks_;
};

template <class Sink> void Writer<Sink>::put(const char* text, size_t length) {
    for (; length > UINT_MAX; text += UINT_MAX, length -= UINT_MAX)
        sink_.put(text, UINT_MAX);
    sink_.put(text, static_cast<unsigned>(length));
}

template <class Sink> void Writer<Sink>::document() {
    const CVurlNode* node = dom_->m_pRoot;
    if (node == nullptr)
        return;
    if ((dom_->m_nDocStyle & DOCSTYLE_BOM) != 0)
        put("\xEF\xBB\xBF");
    if ((dom_->m_nDocStyle & DOCSTYLE_NO_DECL) == 0) {
        put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        line_break(0);
    }
    for (unsigned depth = 0;;) {
        start_tag(node);
        if (node->pFirstChild != nullptr) {
            put(">");
            line_break(++depth);
            node = node->pFirstChild;
            continue;
        }
        leaf(node);
        for (; depth != 0 && node->pNextSibling == nullptr; node = node->pParent) {
            line_break(--depth);
            end_tag(node->pParent);
        }
        if (depth == 0)
            return;
        line_break(depth);
        node = node->pNextSibling;
    }
}

template <class Sink> void Writer<Sink>::start_tag(const CVurlNode* node) {
    put("<");
    put(node->pszTagName);
    for (const CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext) {
        put(" ");
        put(a->pszName);
        put("=\"");
        converted(a->pszValue, true);
        put("\"");
    }
}

// An element without a name, without attributes and without text gets a blank: "</>" would be read as an end
// tag.
template <class Sink> void Writer<Sink>::leaf(const CVurlNode* node) {
    if (node->pszData == nullptr) {
        const bool nameless = *node->pszTagName == '\0' && node->pFirstAttribute == nullptr;
        put(nameless ? " />" : "/>");
        return;
    }
    put(">");
    converted(node->pszData, false);
    end_tag(node);
}

template <class Sink> void Writer<Sink>::end_tag(const CVurlNode* node) {
    put("</");
    put(node->pszTagName);
    put(">");
}

template <class Sink> void Writer<Sink>::converted(const char* text, bool in_value) {
    for (;;) {
        size_t run = std::strcspn(text, "&<>\"'");
        if (text[run] == '<') {
            const char* end = cdata_end(text + run);
            if (end != nullptr && (!in_value || passes_in_value(text + run, end))) {
                put(text, static_cast<size_t>(end - text));
                text = end;
                continue;
            }
        }
        if (run != 0)
            put(text, run);
        if (text[run] == '\0')
            return;
        put(entity_for(text[run]));
        text += run + 1;
    }
}

} // namespace

char* CVurlDOM::WriteDoc(unsigned* pSize, unsigned reserve) {
    std::free(m_pDocBuffer);
    m_pDocBuffer = nullptr;
    m_pfnOutput = &CVurlDOM::AccumulateDocSize;
    m_nDocSize = 0;
    GenerateDoc();
    const size_t size = size_t{m_nDocSize} + 1;
    const bool expressible = m_nDocSize != UINT_MAX && size <= SIZE_MAX - reserve;
    if (m_pRoot != nullptr && expressible)
        m_pDocBuffer = static_cast<char*>(std::malloc(size + reserve));
    if (m_pDocBuffer != nullptr) {
        m_pfnOutput = &CVurlDOM::SendOutputToDocBuffer;
        m_pOutputCursor = m_pDocBuffer + reserve;
        GenerateDoc();
        *m_pOutputCursor = '\0';
    }
    if (pSize != nullptr)
        *pSize = m_nDocSize;
    return m_pDocBuffer;
}

void CVurlDOM::GenerateDoc() {
    if (m_pfnOutput == &CVurlDOM::AccumulateDocSize)
        Writer<Counter>({this}, this).document();
    else if (m_pfnOutput == &CVurlDOM::SendOutputToDocBuffer)
        Writer<Copier>({this}, this).document();
    else
        Writer<Selected>({this}, this).document();
}

void CVurlDOM::Output(const char* text, unsigned length) {
    if (m_pfnOutput != nullptr)
        (this->*m_pfnOutput)(text, length);
}

void CVurlDOM::Output(const char* text) {
    Output(text, static_cast<unsigned>(std::strlen(text)));
}

void CVurlDOM::OutputWithEntityConversion(const char* text) {
    Writer<Selected>({this}, this).converted(text, false);
}

void CVurlDOM::AccumulateDocSize(const char* /*text*/, unsigned length) {
    m_nDocSize = length > UINT_MAX - m_nDocSize ? UINT_MAX : m_nDocSize + length;
}

void CVurlDOM::SendOutputToDocBuffer(const char* text, unsigned length) {
    std::memcpy(m_pOutputCursor, text, length);
    m_pOutputCursor += length;
}
