// Copying nodes and subtrees, and rewriting the string pool.
#include "xml/records.h"
#include <cstdlib>

namespace {

bool copy_attributes(CVurlDOM* dom, const CVurlNode* src, CVurlNode* copy, bool copy_strings) {
    CVurlAttribute** tail = &copy->pFirstAttribute;
    for (const CVurlAttribute* from = src->pFirstAttribute; from != nullptr; from = from->pNext) {
        CVurlAttribute* to = dom->AllocAttribute();
        if (to == nullptr)
            return false;
        *tail = to;
        tail = &to->pNext;
        to->pszName = copy_strings ? dom->AllocAttributeName(from->pszName) : from->pszName;
        to->pszValue = copy_strings ? dom->AllocString(from->pszValue) : from->pszValue;
        if (to->pszName == nullptr || to->pszValue == nullptr)
            return false;
    }
    return true;
}

bool copy_content(CVurlDOM* dom, const CVurlNode* src, CVurlNode* copy, bool copy_strings) {
    copy->pszTagName = copy_strings ? dom->AllocTagName(src->pszTagName) : src->pszTagName;
    copy->pszData = copy_strings ? dom->AllocString(src->pszData) : src->pszData;
    if (copy->pszTagName == nullptr || (copy->pszData == nullptr && src->pszData != nullptr))
        return false;
    return copy_attributes(dom, src, copy, copy_strings);
}

void release_tree(CVurlDOM* dom, CVurlNode* root) {
    dom->DeleteChildren(root);
    dom->FreeAttributes(root);
    dom->FreeNode(root);
}

// The next node of src's subtree in pre-order after `from`, with the place in the copy that corresponds:
// `*to` is from's copy on entry; on return the copy of the new node's parent (a child, *child true) or of its
// previous sibling.
CVurlNode* next_to_copy(const CVurlNode* src, CVurlNode* from, CVurlNode** to, bool* child) {
    *child = from->pFirstChild != nullptr;
    if (*child)
        return from->pFirstChild;
    while (from != src && from->pNextSibling == nullptr) {
        from = from->pParent;
        *to = (*to)->pParent;
    }
    return from == src ? nullptr : from->pNextSibling;
}

} // namespace

CVurlNode* CVurlDOM::CopyNode(CVurlNode* src, bool copyStrings) {
    CVurlNode* copy = AllocNode();
    if (copy == nullptr)
        return nullptr;
    if (!copy_content(this, src, copy, copyStrings)) {
        release_tree(this, copy);
        return nullptr;
    }
    return copy;
}

CVurlNode* CVurlDOM::CopyNodeTree(CVurlNode* src, bool copyStrings) {
    CVurlNode* const root = CopyNode(src, copyStrings);
    if (root == nullptr)
        return nullptr;
    CVurlNode* to = root;
    bool child = false;
    CVurlNode* from = src;
    while ((from = next_to_copy(src, from, &to, &child)) != nullptr) {
        CVurlNode* copy = CopyNode(from, copyStrings);
        if (copy == nullptr) {
            release_tree(this, root);
            return nullptr;
        }
        copy->pParent = child ? to : to->pParent;
        (child ? to->pFirstChild : to->pNextSibling) = copy;
        to = copy;
    }
    return root;
}

namespace {

bool renew(CVurlDOM* dom, const char** text) {
    if (*text == nullptr)
        return true;
    const char* copy = dom->AllocString(*text);
    if (copy == nullptr)
        return false;
    *text = copy;
    return true;
}

bool renew_strings(CVurlDOM* dom, CVurlNode* node) {
    if (!renew(dom, &node->pszTagName) || !renew(dom, &node->pszData))
        return false;
    for (CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext) {
        if (!renew(dom, &a->pszName) || !renew(dom, &a->pszValue))
            return false;
    }
    return true;
}

CVurlNode* next_in_tree(CVurlNode* node) {
    if (node->pFirstChild != nullptr)
        return node->pFirstChild;
    while (node->pParent != nullptr && node->pNextSibling == nullptr)
        node = node->pParent;
    return node->pParent == nullptr ? nullptr : node->pNextSibling;
}

void append_blocks(CVurlMemPool** list, CVurlMemPool* blocks) {
    while (*list != nullptr)
        list = &(*list)->pNext;
    *list = blocks;
}

} // namespace

// When memory runs out half-way the strings not yet moved are still needed: the old blocks stay, behind the
// new ones.
void CVurlDOM::Clean() {
    CVurlMemPool* old = m_pStringPool;
    m_pStringPool = nullptr;
    for (CVurlNode* node = m_pRoot; node != nullptr; node = next_in_tree(node)) {
        if (!renew_strings(this, node)) {
            append_blocks(&m_pStringPool, old);
            return;
        }
    }
    while (old != nullptr) {
        CVurlMemPool* const next = old->pNext;
        std::free(old);
        old = next;
    }
}
