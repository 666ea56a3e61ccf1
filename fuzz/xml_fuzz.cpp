// Any bytes parse or fail cleanly; what parses is written, read back as the same tree, and written as the
// same text.
#include "xml/text_stream.h"
#include "xml/well_formed.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <kalto/xml.h>

namespace {

void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

bool same(const char* a, const char* b) {
    return a == nullptr || b == nullptr ? a == b : std::strcmp(a, b) == 0;
}

// The parser's limit keeps the recursion shallow.
bool same_tree(const CVurlNode* a, const CVurlNode* b) {
    if (!same(a->pszTagName, b->pszTagName) || !same(a->pszData, b->pszData))
        return false;
    const CVurlAttribute* x = a->pFirstAttribute;
    const CVurlAttribute* y = b->pFirstAttribute;
    for (; x != nullptr && y != nullptr; x = x->pNext, y = y->pNext) {
        if (!same(x->pszName, y->pszName) || !same(x->pszValue, y->pszValue))
            return false;
    }
    if (x != nullptr || y != nullptr)
        return false;
    const CVurlNode* c = a->pFirstChild;
    const CVurlNode* d = b->pFirstChild;
    for (; c != nullptr && d != nullptr; c = c->pNextSibling, d = d->pNextSibling) {
        if (!same_tree(c, d))
            return false;
    }
    return c == nullptr && d == nullptr;
}

void fill(CVurlDOM* dom, const uint8_t* data, size_t size) {
    char* buffer = dom->CreateDocBuffer(static_cast<unsigned>(size));
    require(buffer != nullptr, "no memory");
    if (size != 0)
        std::memcpy(buffer, data, size);
}

// Compares what is handed on with a text.
class Comparison final : public kalto::TextReceiver {
  public:
    explicit Comparison(const char* text) : rest_(text) {}
    bool take(const char* text, size_t length) override {
        const bool equal = std::strncmp(rest_, text, length) == 0;
        rest_ += equal ? length : 0;
        return equal;
    }
    bool is_whole() const { return *rest_ == '\0'; }

  private:
    const char* rest_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CVurlDOM first;
    CVurlDOM looked_at;
    fill(&first, data, size);
    fill(&looked_at, data, size);
    const bool parses = first.ReadDoc() != 0;
    require(kalto::is_well_formed(&looked_at) == parses && looked_at.m_nError == first.m_nError &&
                looked_at.m_nDocSize == first.m_nDocSize,
            "looking at it says something else than parsing it");
    if (!parses) {
        require(first.m_nError >= 1 && first.m_nError <= 13 && first.m_nDocSize <= size,
                "a fault without place");
        require(first.m_pRoot == nullptr, "a tree in spite of a fault");
        return 0;
    }
    unsigned second_size = 0;
    const char* second_text = first.WriteDoc(&second_size, 0);
    require(second_text != nullptr && std::strlen(second_text) == second_size, "the text is not whole");

    Comparison streamed(second_text);
    char window[kalto::kLeastWindow];
    require(kalto::stream_text(&first, streamed, window, sizeof window) && streamed.is_whole(),
            "the pieces are another text");

    CVurlDOM second;
    require(second.ReadDoc(second_text) == 1, "what was written cannot be read");
    require(same_tree(first.m_pRoot, second.m_pRoot), "what was written reads differently");
    // The text decides its own layout where the first one decided by something that is not written (a
    // comment).
    second.m_nDocStyle = first.m_nDocStyle;
    unsigned third_size = 0;
    const char* third_text = second.WriteDoc(&third_size, 0);
    require(third_size == second_size && std::memcmp(second_text, third_text, third_size) == 0,
            "the second text differs");
    second.Clean();
    require(same_tree(first.m_pRoot, second.m_pRoot), "compacting changed the tree");
    return 0;
}
