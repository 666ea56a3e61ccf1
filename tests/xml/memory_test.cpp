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

// Fails allocation n (from 0) of the call; whether it got that far.
template <class Call> bool fails_at(long n, Call call) {
    g_until_failure = n;
    call();
    const bool failed = g_until_failure < 0;
    g_until_failure = -1;
    return failed;
}

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

// The memory that the document does not hold as a block of records.
long other_blocks(const CVurlDOM& dom) {
    long count = g_blocks;
    for (const CVurlMemPool* pool = dom.m_pObjectPool; pool != nullptr; pool = pool->pNext)
        --count;
    return count;
}

// Uses up what the document has, so that its next record or string needs a new
// block.
void exhaust(CVurlDOM* dom) {
    for (CVurlMemPool* pool : {dom->m_pStringPool, dom->m_pObjectPool}) {
        for (; pool != nullptr; pool = pool->pNext)
            pool->nUsed = pool->nSize;
    }
    dom->m_pFreeNodes = nullptr;
    dom->m_pFreeAttributes = nullptr;
    dom->m_pFreeListNodes = nullptr;
}

// The bytes of records carved since a block was the newest, and not on a free
// list.
long carved_since(const CVurlMemPool* block, const CVurlDOM& dom) {
    long bytes = 0;
    for (const CVurlMemPool* pool = dom.m_pObjectPool; pool != block; pool = pool->pNext)
        bytes += pool->nUsed;
    for (const CVurlNode* node = dom.m_pFreeNodes; node != nullptr; node = node->pNextSibling)
        bytes -= static_cast<long>(sizeof *node);
    for (const CVurlAttribute* a = dom.m_pFreeAttributes; a != nullptr; a = a->pNext)
        bytes -= static_cast<long>(sizeof *a);
    return bytes;
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
    bool failed = true;
    for (long n = 0; failed; ++n) {
        CVurlDOM dom;
        int result = 0;
        failed = fails_at(n, [&] { result = dom.ReadDoc(text.c_str()); });
        EXPECT_EQ(dom.m_nError, result == 1 ? 0u : 11u) << n;
        EXPECT_EQ(dom.m_pRoot != nullptr, result == 1) << n;
        EXPECT_TRUE(n != 0 || result == 0) << "the text's own block";
    }
}

TEST(OutOfMemory, EditsReportItAndLeaveTheTreeAsItWasAndNothingBehind) {
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
    for (const auto edit : kEdits) {
        bool failed = true;
        for (long n = 0; failed; ++n) {
            Document dom("<a><b c='d'>e</b>" + many_elements() + "</a>");
            const std::string before = tree_text(dom);
            exhaust(&dom);
            const CVurlMemPool* const newest = dom.m_pObjectPool;
            CVurlIterator it = at(&dom);
            it.ToChildElement();
            bool done = false;
            failed = fails_at(n, [&] { done = edit(&it); });
            EXPECT_EQ(done, !failed) << n;
            EXPECT_TRUE(done || tree_text(dom) == before) << n;
            EXPECT_TRUE(done || carved_since(newest, dom) == 0) << n;
        }
    }
}

TEST(OutOfMemory, AListTakesAllOrReportsIt) {
    Document dom(many_elements());
    bool failed = true;
    for (long n = 0; failed; ++n) {
        CVurlElementList list(&dom);
        CVurlIterator it = at(&dom);
        it.ToChildElement();
        unsigned added = 0;
        failed = fails_at(n, [&] {
            do
                added += static_cast<unsigned>(list.Add(&it));
            while (it.ToNextElement() != 0);
        });
        EXPECT_EQ(list.m_nCount, added);
        it.ToFirstElement();
        do
            list.Add(&it);
        while (it.ToNextElement() != 0);
        EXPECT_EQ(list.m_nCount, 100u) << "duplicates are found with and without the index";
    }
}

TEST(OutOfMemory, ASelectionIsWholeOrEndsWithTheErrorAndLeavesNothingBehind) {
    std::string text = "<r>";
    for (int i = 0; i < 300; ++i)
        text += "<a x='1'><a><a><a><a><a><b>t</b></a></a></a></a></a></a>";
    text += "</r>";
    for (const char* expression : {"a", "//b", "a/a[b='t']", "//a[@x != '1']",
                                   "/a/a/a/a/a/a/b/../../../../../../../../..", "//a//a//a//b"}) {
        Document dom(text);
        const std::unique_ptr<CVurlElementList> whole(CVurlElement(&dom).selectNodes(expression));
        int losses = 0;
        bool failed = true;
        for (long n = 0; failed; n += 1 + n / 8) { // not each of hundreds of results
            exhaust(&dom);
            CVurlElement context(&dom);
            const long before = other_blocks(dom);
            CVurlElementList* list = nullptr;
            failed = fails_at(n, [&] { list = context.selectNodes(expression); });
            EXPECT_EQ(dom.m_nXPathError, list == nullptr ? 3u : whole->m_nCount == 0 ? 4u : 0u) << n;
            EXPECT_TRUE(list == nullptr || list->m_nCount == whole->m_nCount) << expression << n;
            losses += list == nullptr;
            delete list;
            EXPECT_EQ(other_blocks(dom), before) << expression << n;
        }
        EXPECT_GT(losses, 5) << expression;
    }
}
#endif
