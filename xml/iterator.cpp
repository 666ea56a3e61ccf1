// The handle that moves: steps, attributes, the pre-order walk.
#include "xml/depth.h"
#include <kalto/xml.h>

// The steps are inline in the header; these references make the library carry them for whoever looks them up
// by name.
[[gnu::used]] static int (CVurlIterator::*const kExportedSteps[])() = {
    &CVurlIterator::ToNextElement, &CVurlIterator::ToChildElement, &CVurlIterator::ToParentElement};

CVurlIterator::CVurlIterator()
    : m_nDepth(0), m_nTraverseBase(0), m_bDescend(0), m_nDepthHigh(0), m_nTraverseHigh(0),
      m_pCurAttribute(nullptr) {}

// Deliberate: the traversal fields keep their values, so that a walk can be moved to another place.
CVurlIterator& CVurlIterator::operator=(const CVurlIterator& other) {
    if (this == &other)
        return *this;
    m_pDOM = other.m_pDOM;
    m_pNode = other.m_pNode;
    m_nDepth = other.m_nDepth;
    m_nDepthHigh = other.m_nDepthHigh;
    m_pCurAttribute = other.m_pCurAttribute;
    return *this;
}

bool CVurlIterator::operator==(CVurlIterator other) const {
    return m_pNode == other.m_pNode;
}

int CVurlIterator::BindToDOM(CVurlDOM* dom) {
    if (dom == nullptr || dom->m_pRoot == nullptr)
        return 0;
    SetSubRoot(dom, dom->m_pRoot);
    return 1;
}

void CVurlIterator::SetSubRoot(CVurlDOM* dom, CVurlNode* node) {
    m_pDOM = dom;
    m_pNode = node;
    kalto::set_depth(this, 0);
}

bool CVurlIterator::IsRoot() const {
    return kalto::depth_of(*this) == 0;
}

int CVurlIterator::ToRootElement() {
    kalto::set_depth(this, 0);
    if (m_pDOM == nullptr || m_pDOM->m_pRoot == nullptr)
        return 0;
    m_pNode = m_pDOM->m_pRoot;
    return 1;
}

int CVurlIterator::ToFirstElement() {
    if (m_pNode != nullptr && m_pNode->pParent != nullptr && m_pNode->pParent->pFirstChild != nullptr)
        m_pNode = m_pNode->pParent->pFirstChild;
    return 1;
}

int CVurlIterator::GetFirstAttribute(const char** name, const char** value) {
    if (m_pNode == nullptr)
        return 0;
    m_pCurAttribute = m_pNode->pFirstAttribute;
    return GetCurrentAttribute(name, value);
}

int CVurlIterator::GetCurrentAttribute(const char** name, const char** value) {
    if (m_pCurAttribute == nullptr)
        return 0;
    *name = m_pCurAttribute->pszName;
    *value = m_pCurAttribute->pszValue;
    return 1;
}

int CVurlIterator::GetNextAttribute(const char** name, const char** value) {
    if (m_pCurAttribute == nullptr)
        return 0;
    m_pCurAttribute = m_pCurAttribute->pNext;
    return GetCurrentAttribute(name, value);
}

const char* CVurlIterator::GetAttributeInherit(const char* name) const {
    CVurlElement element(*this);
    for (; element.m_pNode != nullptr; element.m_pNode = element.m_pNode->pParent) {
        if (const char* value = element.GetAttribute(name))
            return value;
    }
    return nullptr;
}

int CVurlIterator::BeginTraverseHere() {
    m_nTraverseBase = m_nDepth;
    m_nTraverseHigh = m_nDepthHigh;
    if (ToChildElement() == 0)
        return 0;
    m_bDescend = 1;
    return 1;
}

int CVurlIterator::ContinueTraverse() {
    if (m_bDescend != 0) {
        if (ToChildElement() != 0)
            return 1;
        m_bDescend = 0;
        return 2;
    }
    if (ToNextElement() != 0) {
        m_bDescend = 1;
        return 1;
    }
    if (ToParentElement() == 0)
        return 0;
    if (m_nDepth != m_nTraverseBase || m_nDepthHigh != m_nTraverseHigh)
        return 2;
    m_bDescend = 1;
    return 0;
}
