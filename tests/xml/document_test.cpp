#include "tests/xml/tree_text.h"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vector>

namespace {

char* g_log = nullptr; // what was written to the system's log
size_t g_log_size = 0;

} // namespace

// Stands for the C library's: the system's log is kept in memory.
extern "C" FILE* fopen(const char* path, const char* mode) {
    if (std::strcmp(path, "/var/log/messages") == 0 && std::strcmp(mode, "a+") == 0)
        return open_memstream(&g_log, &g_log_size);
    return reinterpret_cast<FILE* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "fopen"))(path, mode);
}

TEST(Pool, GrowsByHalfAndServesExactlyFromTheNewestBlockThatFits) {
    const struct {
        unsigned first;
        std::vector<unsigned> sizes; // of the blocks that follow when each is filled
    } cases[] = {
        {1, {256, 256, 512, 768, 1280}}, {300, {512, 256, 512, 768}}, {1024, {1024, 512, 768, 1280}}};
    for (const auto& c : cases) {
        CVurlDOM dom;
        unsigned request = c.first;
        for (const unsigned size : c.sizes) {
            ASSERT_NE(dom.AllocString(request), nullptr);
            EXPECT_EQ(dom.m_pStringPool->nSize, size);
            ASSERT_NE(dom.AllocString(dom.m_pStringPool->Remaining()), nullptr);
            request = 1;
        }
    }
    CVurlDOM dom;
    const char* const first = dom.AllocString(200u);
    const char* const second = dom.AllocString(100u);
    EXPECT_EQ(dom.AllocString(156u), second + 100);
    EXPECT_EQ(dom.AllocString(56u), first + 200);
    EXPECT_EQ(CVurlMemPool::Create(0xFFFFFF01u), nullptr);
    EXPECT_EQ(dom.CreateDocBuffer(0xFFFFFFFFu), nullptr);
}

TEST(Document, SizesItsNodesForTheUserData) {
    constexpr unsigned kUnit = sizeof(void*);
    EXPECT_EQ(CVurlDOM().m_nNodeSize, 6 * kUnit);
    EXPECT_EQ(CVurlDOM(1).m_nNodeSize, 7 * kUnit);
    EXPECT_EQ(CVurlDOM(kUnit + 1).m_nNodeSize, 8 * kUnit);
    EXPECT_EQ(CVurlDOM(0xFFF0).AllocNode(), nullptr) << "such a record cannot be";
    for (const unsigned size : {0u, 8 * kUnit}) {
        CVurlDOM dom(static_cast<unsigned short>(size == 0 ? 0 : 2 * kUnit));
        EXPECT_EQ(dom.m_nNodeSize, size);
        CVurlNode* const node = dom.AllocNode();
        const unsigned record = std::max<unsigned>(size, sizeof(CVurlNode));
        std::memset(static_cast<void*>(node), 0xFF, record);
        dom.FreeNode(node);
        ASSERT_EQ(dom.AllocNode(), node);
        const auto* const bytes = reinterpret_cast<const char*>(node);
        EXPECT_EQ(std::count(bytes, bytes + record, '\0'), record) << "a recycled node is zeroed";
        EXPECT_EQ(reinterpret_cast<char*>(dom.AllocNode()), bytes + record);
    }
}

TEST(Document, CleanKeepsTheLiveStringsAlone) {
    Document dom("<r><x a='1'>t</x><y/></r>");
    CVurlElement x(&dom);
    x.m_pNode = dom.m_pRoot->pFirstChild;
    x.SetAttribute("a", "replaced");
    x.SetData("also replaced");
    dom.Clean();
    EXPECT_EQ(tree_text(dom), "r(x[a=replaced]'also replaced',y)");
    const char expected[] = "r\0x\0also replaced\0a\0replaced\0y";
    ASSERT_EQ(dom.m_pStringPool->nUsed, sizeof expected);
    EXPECT_EQ(std::memcmp(dom.m_pStringPool + 1, expected, sizeof expected), 0);
}

TEST(Document, IsEmptyAfterFreeDOMWhichNotesWhatItReleasesInTheSystemsLog) {
    CVurlDOM dom(8);
    EXPECT_EQ(dom.ReadDoc("<r>\n<x a='1'/></"), 0);
    EXPECT_EQ(dom.ReadDoc("<r>\n<x a='1'/></r>"), 1);
    dom.WriteDoc(nullptr, 0);
    {
        CVurlElementList list(&dom);
        CVurlIterator it = at(&dom);
        list.Add(&it);
    }
    dom.FreeDOM(true);
    EXPECT_STREQ(g_log, "Inside FreeDOM function\nDeleting String Pool\nDeleting Object Pool\n"
                        "Deleting Doc Buffer\nExiting FreeDOM Function\n");
    std::free(g_log);
    EXPECT_TRUE(dom.m_pFreeListNodes == nullptr && dom.m_pFreeNodes == nullptr &&
                dom.m_pFreeAttributes == nullptr);
    EXPECT_EQ(dom.GetRootTagName(), nullptr);
    EXPECT_EQ(dom.m_nDocStyle, DOCSTYLE_LF);
    EXPECT_EQ(dom.m_nError, 5u);
    EXPECT_EQ(dom.m_nNodeSize, sizeof(CVurlNode) + 8);
    EXPECT_STREQ(dom.CreateDOM("again"), "again");
}

TEST(Document, SharesStringsWithACopyOfItsOwn) {
    Document dom("<r a='1' b='2'><s>u</s><t/></r>");
    CVurlNode* const whole = dom.CopyNodeTree(dom.m_pRoot, false);
    ASSERT_EQ(tree_text(whole), "r[a=1,b=2](s'u',t)");
    EXPECT_EQ(whole->pFirstChild->pszData, dom.m_pRoot->pFirstChild->pszData);
    CVurlNode* const single = dom.CopyNode(dom.m_pRoot->pFirstChild, true);
    EXPECT_TRUE(single->pParent == nullptr && single->pNextSibling == nullptr);
    EXPECT_NE(single->pszData, dom.m_pRoot->pFirstChild->pszData);
}

TEST(Document, WalksWritesCopiesCleansAndDeletesATreeOfAnyDepth) {
    constexpr int kDepth = 140000; // more than an iterator's field for its depth counts
    CVurlDOM dom;
    dom.CreateDOM("r");
    CVurlIterator it = at(&dom);
    for (int i = 0; i < kDepth; ++i)
        ASSERT_EQ(it.InsertElement("e", VURL_LAST_CHILD), !it.IsRoot() || i == 0);
    it.ToRootElement();
    int visited = 0;
    for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse())
        visited += step == 1;
    EXPECT_EQ(visited, kDepth);
    EXPECT_EQ(it.m_pNode, dom.m_pRoot);

    dom.m_nDocStyle = DOCSTYLE_LF | DOCSTYLE_TABS; // indentation stops growing at the 64th level
    const std::string text = written(&dom);
    const std::string at_64 = "\n" + std::string(64, '\t') + "<e>";
    EXPECT_NE(text.find(at_64.substr(0, 64) + "<e>" + at_64 + at_64), std::string::npos);
    EXPECT_EQ(text.find(std::string(65, '\t')), std::string::npos);

    CVurlDOM other;
    other.m_pRoot = other.CopyNodeTree(dom.m_pRoot, true);
    dom.FreeDOM(false);
    other.Clean();
    other.DeleteChildren(other.m_pRoot);
    for (const CVurlNode* node = other.m_pFreeNodes; node != nullptr; node = node->pNextSibling)
        --visited;
    EXPECT_EQ(visited, 0);
}
