// What happens when memory runs out: this program fails one allocation after
// the other and counts what stays allocated.
#include "tests/xml/tree_text.h"
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they bring an allocator of their own

namespace {

long g_until_failure = -1; // allocations to go until one fails; -1: none fails
long g_blocks = 0;         // allocated and not freed

bool fails() {
    if (g_until_failure < 0 || g_until_failure-- != 0)
        return false;
    errno = ENOMEM;
    return true;
}

void* counted(void* block) {
    g_blocks += block != nullptr;
    return block;
}

// Uses up what the document has, so that its next record or string needs a new block.
void exhaust(CVurlDOM* dom) {
    for (CVurlMemPool* pool : {dom->m_pStringPool, dom->m_pObjectPool}) {
        for (; pool != nullptr; pool = pool->pNext)
            pool->nUsed = pool->nSize;
    }
    dom->m_pFreeNodes = nullptr;
    dom->m_pFreeAttributes = nullptr;
    dom->m_pFreeListNodes = nullptr;
}

// Fails one allocation after the other of what is done to a document, which tells whether it was done. If
// not, the tree stays; either way, all that was allocated goes with the document.
template <class Act> void fail_each(const std::string& text, Act act, bool can_do_without = false) {
    bool failed = true;
    for (long n = 0; failed; n += 1 + n / 8) { // not each of hundreds of results
        const long blocks = g_blocks;
        {
            Document dom(text);
            const std::string before = tree_text(dom);
            exhaust(&dom);
            CVurlIterator it = at(&dom);
            it.ToChildElement();
            g_until_failure = n;
            const bool done = act(&it);
            failed = g_until_failure < 0;
            g_until_failure = -1;
            EXPECT_TRUE(done ? can_do_without || !failed : failed && tree_text(dom) == before) << n;
        }
        EXPECT_EQ(g_blocks, blocks) << n;
    }
}

std::string many_elements() {
    std::string text = "<a>";
    for (int i = 0; i < 100; ++i)
        text += "<b c='d'>e</b>";
    return text + "</a>";
}

} // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) {
    return fails() ? nullptr : counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* block, size_t size) {
    if (fails())
        return nullptr;
    return block ? __libc_realloc(block, size) : counted(__libc_realloc(nullptr, size));
}

void free(void* block) {
    g_blocks -= block != nullptr;
    __libc_free(block);
}
}

TEST(OutOfMemory, ReadingSucceedsOrEndsWithTheMemoryError) {
    const std::string text = many_elements();
    const auto read = [&](CVurlIterator*) {
        CVurlDOM dom;
        const bool done = dom.ReadDoc(text.c_str()) == 1;
        EXPECT_EQ(dom.m_nError, done ? 0u : 11u);
        EXPECT_EQ(dom.m_pRoot != nullptr, done);
        return done;
    };
    fail_each("<r/>", read, true);
}

TEST(OutOfMemory, EditsReportItAndLeaveTheTreeAsItWas) {
    static Document other(many_elements());
    constexpr bool (*kEdits[])(CVurlIterator*) = {
        [](CVurlIterator* it) { return it->InsertElement("n", VURL_NEXT_SIBLING) != 0; },
        [](CVurlIterator* it) {
            return it->InsertCopyOfElement(CVurlElement(&other), VURL_NEXT_SIBLING) != 0;
        },
        [](CVurlIterator* it) { return it->SetAttribute("n", "v") != nullptr; },
        [](CVurlIterator* it) { return it->SetAttribute("c", "v") != nullptr; },
        [](CVurlIterator* it) { return it->SetData("v") != nullptr; },
        [](CVurlIterator* it) { return it->SetTagName("v") != nullptr; },
        [](CVurlIterator* it) { return it->m_pDOM->WriteDoc(nullptr, 0) != nullptr; },
        [](CVurlIterator* it) { return it->m_pDOM->Clean(), g_until_failure >= 0; },
    };
    for (const auto edit : kEdits)
        fail_each("<a><b c='d'>e</b>" + many_elements() + "</a>", edit);
}

TEST(OutOfMemory, ASelectionIsWholeOrEndsWithTheError) {
    std::string text = "<r>";
    for (int i = 0; i < 300; ++i)
        text += "<a x='1'><a><a><a><a><a><b>t</b></a></a></a></a></a></a>";
    text += "</r>";
    Document plain(text);
    for (const char* expression : {"a", "//b", "a/a[b='t']", "//a[@x != '1']",
                                   "/a/a/a/a/a/a/b/../../../../../../../../..", "//a//a//a//b"}) {
        const std::unique_ptr<CVurlElementList> whole(CVurlElement(&plain).selectNodes(expression));
        const auto select = [&](CVurlIterator* it) {
            const std::unique_ptr<CVurlElementList> list(CVurlElement(it->m_pDOM).selectNodes(expression));
            EXPECT_EQ(it->m_pDOM->m_nXPathError, list == nullptr ? 3u : whole->m_nCount == 0 ? 4u : 0u);
            EXPECT_TRUE(list == nullptr || list->m_nCount == whole->m_nCount) << expression;
            return list != nullptr;
        };
        fail_each(text, select, true);
    }
}
#endif
