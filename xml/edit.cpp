// Inserting and deleting elements at an iterator.
#include "xml/depth.h"
#include <kalto/xml.h>

namespace {

bool is_child_place(VURL_LOCATION where) {
    return where == VURL_FIRST_CHILD || where == VURL_LAST_CHILD;
}

CVurlNode** chain_end(CVurlNode** link) {
    while (*link != nullptr)
        link = &(*link)->pNextSibling;
    return link;
}

// The link that is to point to a node inserted there, or null when there is none.
CVurlNode** link_for(CVurlNode* node, VURL_LOCATION where) {
    switch (where) {
    case VURL_NEXT_SIBLING:
        return &node->pNextSibling;
    case VURL_FIRST_SIBLING:
        return node->pParent == nullptr ? nullptr : &node->pParent->pFirstChild;
    case VURL_LAST_SIBLING:
        return chain_end(&node->pNextSibling);
    case VURL_FIRST_CHILD:
        return &node->pFirstChild;
    default:
        return chain_end(&node->pFirstChild);
    }
}

} // namespace

int CVurlIterator::InsertNode(CVurlNode* node, VURL_LOCATION where) {
    if (m_pNode == nullptr || static_cast<unsigned>(where) > VURL_LAST_CHILD)
        return 0;
    CVurlNode** link = link_for(m_pNode, where);
    CVurlNode* const parent = is_child_place(where) ? m_pNode : m_pNode->pParent;
    if (is_child_place(where)) {
        kalto::change_depth(this, 1);
        m_pNode->pszData = nullptr;
    } else if (IsRoot()) {
        return 0;
    }
    if (link == nullptr || node == nullptr)
        return 1;
    node->pNextSibling = *link;
    node->pParent = parent;
    *link = node;
    m_pNode = node;
    return 1;
}

// What was not inserted goes back to the free lists.
int CVurlIterator::InsertElement(const char* name, VURL_LOCATION where) {
    CVurlNode* node = m_pDOM == nullptr ? nullptr : m_pDOM->AllocNode();
    if (node == nullptr)
        return 0;
    node->pszTagName = m_pDOM->AllocTagName(name);
    const int result = node->pszTagName == nullptr ? 0 : InsertNode(node, where);
    if (m_pNode != node)
        m_pDOM->FreeNode(node);
    return result;
}

int CVurlIterator::InsertCopyOfElement(const CVurlElement& src, VURL_LOCATION where) {
    if (m_pDOM == nullptr || src.m_pDOM == nullptr || src.m_pNode == nullptr)
        return 0;
    CVurlNode* copy = m_pDOM->CopyNodeTree(src.m_pNode, src.m_pDOM != m_pDOM);
    if (copy == nullptr)
        return 0;
    const int result = InsertNode(copy, where);
    if (m_pNode != copy) {
        m_pDOM->DeleteChildren(copy);
        m_pDOM->FreeAttributes(copy);
        m_pDOM->FreeNode(copy);
    }
    return result;
}

void CVurlIterator::DeleteChildren() {
    if (m_pNode != nullptr)
        m_pDOM->DeleteChildren(m_pNode);
}

namespace {

// Takes a node out of its parent's chain. A walk that deletes goes from sibling to sibling: the search begins
// at the element before the one that was deleted last, so that it need not begin at the first child each
// time.
void unlink(CVurlDOM* dom, CVurlNode* node, CVurlNode* begin) {
    CVurlNode* const parent = node->pParent;
    CVurlNode* before = parent->pFirstChild == node ? nullptr : begin;
    while (before != nullptr && before->pNextSibling != node)
        before = before->pNextSibling;
    if (before == nullptr && parent->pFirstChild != node) {
        before = parent->pFirstChild;
        while (before != nullptr && before->pNextSibling != node)
            before = before->pNextSibling;
        if (before == nullptr)
            return; // deleted already
    }
    (before == nullptr ? parent->pFirstChild : before->pNextSibling) = node->pNextSibling;
    dom->m_pBeforeDeleted = before;
}

} // namespace

// Deliberate: the record does not go to the free list and keeps its links, so that a walk can delete the
// element it stands on. An element without a parent (the iterator climbed above where it was bound) cannot be
// removed.
void CVurlIterator::DeleteElement() {
    if (m_pNode == nullptr || m_pNode->pParent == nullptr || IsRoot())
        return;
    CVurlNode* begin = m_pDOM->m_pBeforeDeleted;
    if (begin != nullptr && (begin == m_pNode || begin->pParent != m_pNode->pParent))
        begin = nullptr;
    m_pDOM->FreeAttributes(m_pNode);
    m_pDOM->DeleteChildren(m_pNode);
    m_pNode->pszData = nullptr;
    m_pDOM->m_pBeforeDeleted = nullptr;
    unlink(m_pDOM, m_pNode, begin);
}
