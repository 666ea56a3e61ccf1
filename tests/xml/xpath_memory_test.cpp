// Selecting when memory runs out: this program fails one allocation after the other and counts what stays
// allocated.
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <string>

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

long pool_blocks(const CVurlDOM& document) {
    long count = 0;
    for (const CVurlMemPool* pool = document.m_pObjectPool; pool; pool = pool->pNext)
        ++count;
    return count;
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

TEST(XPathMemory, ASelectionIsWholeOrEndsWithTheErrorAndLeavesNothingBehind) {
    std::string text = "<r>";
    for (int i = 0; i < 300; ++i)
        text += "<a x='1'><a><a><a><a><a><b>t</b></a></a></a></a></a></a>";
    text += "</r>";
    for (const char* expression : {"a", "//b", "a/a[b='t']", "//a[@x != '1']",
                                   "/a/a/a/a/a/a/b/../../../../../../../../..", "//a//a//a//b"}) {
        CVurlDOM document;
        ASSERT_EQ(document.ReadDoc(text.c_str()), 1);
        CVurlElement root(&document);
        CVurlElementList* whole = root.selectNodes(expression);
        const unsigned count = whole->m_nCount;
        delete whole;
        bool failed = true;
        int losses = 0;
        for (long n = 0; failed; ++n) {
            document.m_pFreeListNodes = nullptr; // so that the document has to allocate as well
            for (CVurlMemPool* pool = document.m_pObjectPool; pool; pool = pool->pNext)
                pool->nUsed = pool->nSize;
            CVurlElement context(&document);
            const long before = g_blocks - pool_blocks(document);
            g_until_failure = n;
            CVurlElementList* list = context.selectNodes(expression);
            failed = g_until_failure < 0;
            g_until_failure = -1;
            EXPECT_EQ(document.m_nXPathError, list ? (count ? 0U : 4U) : 3U) << expression << n;
            EXPECT_TRUE(!list || list->m_nCount == count) << expression << n;
            losses += list == nullptr;
            delete list;
            EXPECT_EQ(g_blocks - pool_blocks(document), before) << expression << n;
            n += n / 8; // not each of hundreds of results
        }
        EXPECT_GT(losses, 5) << expression;
    }
}

#endif
