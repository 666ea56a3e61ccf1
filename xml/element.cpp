// The handle on one element: its name, text and attributes.
#include <cstring>
#include <kalto/xml.h>

namespace {

// Most names differ in their first character.
bool equal(const char* a, const char* b) {
    return *a == *b && std::strcmp(a, b) == 0;
}

bool empty(const char* text) {
    return text == nullptr || *text == '\0';
}

// For names: they are shorter than a call is long.
bool same_name(const char* a, const char* b) {
    while (*a == *b && *a != '\0') {
        ++a;
        ++b;
    }
    return *a == *b;
}

// The link that points to the first attribute of that name, or to the end of the chain.
CVurlAttribute** find_attribute(CVurlNode* node, const char* name) {
    CVurlAttribute** link = &node->pFirstAttribute;
    while (*link != nullptr && !same_name((*link)->pszName, name))
        link = &(*link)->pNext;
    return link;
}

const char* replace_value(CVurlDOM* dom, CVurlAttribute* attribute, const char* value, bool copy) {
    if (copy) {
        if (equal(attribute->pszValue, value))
            return attribute->pszValue;
        value = dom->AllocString(value);
        if (value == nullptr)
            return nullptr;
    }
    return attribute->pszValue = value;
}

const char* add_attribute(CVurlDOM* dom, CVurlAttribute** end, const char* name, const char* value,
                          bool copy) {
    CVurlAttribute* added = dom->AllocAttribute();
    if (added == nullptr)
        return nullptr;
    added->pszName = copy ? dom->AllocAttributeName(name) : name;
    added->pszValue = copy ? dom->AllocString(value) : value;
    if (added->pszName == nullptr || added->pszValue == nullptr) {
        dom->FreeAttribute(added);
        return nullptr;
    }
    *end = added;
    return added->pszValue;
}

const char* set_attribute(CVurlElement* element, const char* name, const char* value, bool copy) {
    if (element->m_pNode == nullptr || name == nullptr)
        return nullptr;
    if (value == nullptr) {
        element->DeleteAttribute(name);
        return "";
    }
    CVurlAttribute** link = find_attribute(element->m_pNode, name);
    return *link != nullptr ? replace_value(element->m_pDOM, *link, value, copy)
                            : add_attribute(element->m_pDOM, link, name, value, copy);
}

} // namespace

// These are inline in the header; the references make the library carry them for whoever looks them up by
// name.
[[gnu::used]] static const char* (CVurlElement::*const kExportedGetters[])() const = {
    &CVurlElement::GetTagName, &CVurlElement::GetData};

CVurlElement::CVurlElement() : m_pDOM(nullptr), m_pNode(nullptr) {}

CVurlElement::CVurlElement(CVurlDOM* dom) : m_pDOM(dom), m_pNode(nullptr) {
    if (dom != nullptr) {
        m_pNode = dom->m_pRoot;
        dom->m_nXPathError = 0;
    }
}

int CVurlElement::HasChild() const {
    return m_pNode != nullptr && m_pNode->pFirstChild != nullptr;
}

void* CVurlElement::UserData() const {
    return m_pNode + 1;
}

void CVurlElement::DeleteData() {
    m_pNode->pszData = nullptr;
}

const char* CVurlElement::GetAttribute(const char* name) const {
    if (m_pNode == nullptr || name == nullptr)
        return nullptr;
    const CVurlAttribute* found = *find_attribute(m_pNode, name);
    return found == nullptr ? nullptr : found->pszValue;
}

const char* CVurlElement::SetData(const char* text) {
    if (m_pNode == nullptr || m_pNode->pFirstChild != nullptr)
        return "";
    if (empty(text)) {
        m_pNode->pszData = nullptr;
        return "";
    }
    if (m_pNode->pszData != nullptr && equal(m_pNode->pszData, text))
        return m_pNode->pszData;
    const char* copy = m_pDOM->AllocString(text);
    if (copy != nullptr)
        m_pNode->pszData = copy;
    return copy;
}

const char* CVurlElement::CopyData(const CVurlElement* src) {
    if (m_pNode == nullptr || src == nullptr || src->m_pNode == nullptr)
        return nullptr;
    return m_pNode == src->m_pNode ? m_pNode->pszData : SetData(src->m_pNode->pszData);
}

const char* CVurlElement::SetTagName(const char* name) {
    if (name == nullptr || m_pNode == nullptr)
        return name;
    if (*name == '\0')
        return "";
    if (equal(GetTagName(), name))
        return m_pNode->pszTagName;
    const char* copy = m_pDOM->AllocTagName(name);
    if (copy != nullptr)
        m_pNode->pszTagName = copy;
    return copy;
}

void CVurlElement::DeleteAttribute(const char* name) {
    if (m_pNode == nullptr || name == nullptr)
        return;
    CVurlAttribute** link = find_attribute(m_pNode, name);
    CVurlAttribute* found = *link;
    if (found == nullptr)
        return;
    *link = found->pNext;
    m_pDOM->FreeAttribute(found);
}

const char* CVurlElement::SetAttribute(const char* name, const char* value, bool copy) {
    return set_attribute(this, name, value, copy);
}

const char* CVurlElement::SetAttribute(const char* name, const char* value) {
    return set_attribute(this, name, value, true);
}

// Deliberate: an attribute that src lacks stays here within one document and goes when src is in another one,
// as applications that mirror documents count on.
const char* CVurlElement::CopyAttribute(const CVurlElement* src, const char* name) {
    if (m_pNode == nullptr || src == nullptr || name == nullptr)
        return nullptr;
    if (src->m_pDOM != m_pDOM)
        return SetAttribute(name, src->GetAttribute(name));
    if (src->m_pNode == nullptr)
        return nullptr;
    const CVurlAttribute* found = *find_attribute(src->m_pNode, name);
    return found == nullptr ? nullptr : SetAttribute(found->pszName, found->pszValue, false);
}
