// Turns a tree back into text: one pass that counts, one allocation, one pass that writes.
#include "xml/output_sinks.h"
#include "xml/records.h"
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

using kalto::Copier;
using kalto::Counter;
using kalto::Selected;
using kalto::Streamer;

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

template <class Sink, size_t size> KALTO_HOT void put(Sink& sink, const char (&text)[size]) {
    sink.put(text, size - 1);
}

// The rest of a text from a "<!" on.
template <class Sink> [[gnu::noinline]] void put_sections(Sink* sink, const char* text, bool in_value) {
    while (*text != '\0') {
        const char* const end = cdata_end(text);
        if (end != nullptr && (!in_value || passes_in_value(text, end))) {
            sink->put(text, static_cast<size_t>(end - text));
            text = end;
        } else {
            put(*sink, "&lt;");
            ++text;
        }
        text = sink->converted(text);
    }
}

template <class Sink> KALTO_HOT void put_converted(Sink& sink, const char* text, bool in_value) {
    text = sink.converted(text);
    if (*text == '\0')
        return;
    Sink outside = sink; // so that the sink itself has no address and can stay in registers
    put_sections(&outside, text, in_value);
    sink = outside;
}

template <class Sink> KALTO_HOT void put_start_tag(Sink& sink, const CVurlNode* node) {
    put(sink, "<");
    sink.string(node->pszTagName);
    for (const CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext) {
        put(sink, " ");
        sink.string(a->pszName);
        put(sink, "=\"");
        put_converted(sink, a->pszValue, true);
        put(sink, "\"");
    }
}

template <class Sink> KALTO_HOT void put_end_tag(Sink& sink, const CVurlNode* node) {
    put(sink, "</");
    sink.string(node->pszTagName);
    put(sink, ">");
}

// An element without a name, without attributes and without text gets a blank: "</>" would be read as an end
// tag.
template <class Sink> KALTO_HOT void put_leaf(Sink& sink, const CVurlNode* node) {
    put_start_tag(sink, node);
    if (node->pszData != nullptr) {
        put(sink, ">");
        put_converted(sink, node->pszData, false);
        put_end_tag(sink, node);
        return;
    }
    if (*node->pszTagName == '\0' && node->pFirstAttribute == nullptr)
        put(sink, " ");
    put(sink, "/>");
}

// The sink is passed and returned by value: as a local variable it lives in registers.
template <class Sink> Sink put_document(Sink sink, const CVurlDOM& dom) {
    const LineBreaks breaks(dom.m_nDocStyle);
    const auto line_break = [&](unsigned depth) { sink.padded(breaks.text(), breaks.length(depth)); };
    const CVurlNode* node = dom.m_pRoot;
    if (node == nullptr)
        return sink;
    if ((dom.m_nDocStyle & DOCSTYLE_BOM) != 0)
        put(sink, "\xEF\xBB\xBF");
    if ((dom.m_nDocStyle & DOCSTYLE_NO_DECL) == 0) {
        put(sink, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        line_break(0);
    }
    for (unsigned depth = 0;;) {
        if (node->pFirstChild != nullptr) {
            put_start_tag(sink, node);
            put(sink, ">");
            line_break(++depth);
            node = node->pFirstChild;
            continue;
        }
        put_leaf(sink, node);
        for (; depth != 0 && node->pNextSibling == nullptr; node = node->pParent) {
            line_break(--depth);
            put_end_tag(sink, node->pParent);
        }
        if (depth == 0)
            return sink;
        line_break(depth);
        node = node->pNextSibling;
    }
}

unsigned saturated(std::uint64_t size) {
    return size > UINT_MAX ? UINT_MAX : static_cast<unsigned>(size);
}

void count(CVurlDOM* dom) {
    const Counter sink = put_document(Counter(dom), *dom);
    dom->m_nDocSize = saturated(dom->m_nDocSize + sink.size());
}

void copy(CVurlDOM* dom, char* buffer_end) {
    char* const cursor = dom->m_pOutputCursor;
    const Copier sink = put_document(Copier(dom, cursor, {cursor, buffer_end}), *dom);
    dom->m_pOutputCursor = sink.cursor();
}

} // namespace

bool kalto::stream_text(CVurlDOM* dom, TextReceiver& receiver, char* window, size_t size) {
    if (dom->m_pRoot == nullptr)
        return false;
    TextWindow pieces(receiver, window, size);
    const Streamer sink = put_document(Streamer(dom, window, MovingWindow(pieces)), *dom);
    pieces.hand_on(sink.cursor());
    return pieces.is_wanted();
}

char* CVurlDOM::WriteDoc(unsigned* pSize, unsigned reserve) {
    std::free(m_pDocBuffer);
    m_pDocBuffer = nullptr;
    m_pfnOutput = &CVurlDOM::AccumulateDocSize;
    m_nDocSize = 0;
    count(this);
    const size_t size = size_t{m_nDocSize} + 1;
    const bool expressible = m_nDocSize != UINT_MAX && size <= SIZE_MAX - reserve;
    if (m_pRoot != nullptr && expressible)
        m_pDocBuffer = static_cast<char*>(std::malloc(size + reserve));
    if (m_pDocBuffer != nullptr) {
        kalto::expect_use(m_pDocBuffer, size + reserve);
        m_pfnOutput = &CVurlDOM::SendOutputToDocBuffer;
        m_pOutputCursor = m_pDocBuffer + reserve;
        copy(this, m_pOutputCursor + size);
        *m_pOutputCursor = '\0';
    }
    if (pSize != nullptr)
        *pSize = m_nDocSize;
    return m_pDocBuffer;
}

// The two sinks of the library are served directly, whatever else is selected through Output. Nothing is
// known about the room behind a cursor that an application has set.
void CVurlDOM::GenerateDoc() {
    if (m_pfnOutput == &CVurlDOM::AccumulateDocSize) {
        count(this);
    } else if (m_pfnOutput == &CVurlDOM::SendOutputToDocBuffer) {
        copy(this, nullptr);
    } else {
        put_document(Selected(this), *this);
    }
}

void CVurlDOM::Output(const char* text, unsigned length) {
    if (m_pfnOutput != nullptr)
        (this->*m_pfnOutput)(text, length);
}

void CVurlDOM::Output(const char* text) {
    Output(text, static_cast<unsigned>(std::strlen(text)));
}

void CVurlDOM::OutputWithEntityConversion(const char* text) {
    Selected sink(this);
    put_converted(sink, text, false);
}

void CVurlDOM::AccumulateDocSize(const char* /*text*/, unsigned length) {
    m_nDocSize = length > UINT_MAX - m_nDocSize ? UINT_MAX : m_nDocSize + length;
}

void CVurlDOM::SendOutputToDocBuffer(const char* text, unsigned length) {
    std::memcpy(m_pOutputCursor, text, length);
    m_pOutputCursor += length;
}
