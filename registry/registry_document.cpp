// Elements of the registry document: their order, their marks, and finding, inserting and removing one among
// its siblings.
#include "registry/registry_document.h"

#include "registry/sibling_index.h"
#include "registry/store.h"
#include <cstring>
#include <strings.h>

namespace kalto {

namespace {

bool is_letter(const char* tag, char lower_case) {
    return (tag[0] | 0x20) == lower_case && tag[1] == '\0';
}

} // namespace

// Most names differ in their first letter.
const char* attribute_of(const CVurlNode* node, const char* name) {
    for (const CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext)
        if (a->pszName[0] == name[0] && strcmp(a->pszName, name) == 0)
            return a->pszValue;
    return nullptr;
}

const char* name_of(const CVurlNode* node) {
    const char* name = attribute_of(node, kNameAttribute);
    return name != nullptr ? name : "";
}

bool is_key(const CVurlNode* node) {
    return is_letter(node->pszTagName, kKeyTag[0]);
}

bool is_value(const CVurlNode* node) {
    return is_letter(node->pszTagName, kValueTag[0]);
}

int compare(const CVurlNode* node, const char* tag, const char* name) {
    const int order = strcasecmp(name_of(node), name);
    return order != 0 ? order : strcasecmp(node->pszTagName, tag);
}

int CRegVurlIterator::Compare(const char* tag, const char* name) const {
    return compare(m_pNode, tag, name);
}

bool CRegVurlIterator::IsKey() const {
    return is_key(m_pNode);
}

bool CRegVurlIterator::IsValue() const {
    return is_value(m_pNode);
}

void CRegVurlIterator::Delete() {
    mark_of(m_pNode).deleted = 1;
    note_deletion();
}

void CRegVurlIterator::Undelete() {
    mark_of(m_pNode).deleted = 0;
    note_change();
}

bool CRegVurlIterator::IsDeleted() const {
    return mark_of(m_pNode).deleted != 0;
}

Found CRegVurlIterator::Find(const char* tag, const char* name, bool create, bool /*ignored*/) {
    Place place{nullptr, nullptr};
    if (create)
        place = find_place(m_pNode, tag, name);
    else
        place.match = find_match(m_pNode, tag, name);
    if (place.match == nullptr)
        return create ? Insert(tag, name, place.before) : Found::no;
    const bool deleted = mark_of(place.match).deleted != 0;
    if (deleted && !create)
        return Found::no;
    m_pNode = place.match;
    ++m_nDepth;
    if (deleted)
        Undelete();
    return Found::yes;
}

// The attribute is set before the element is linked, so that exhausted memory leaves nothing half made.
Found CRegVurlIterator::Insert(const char* tag, const char* name, CVurlNode* before) {
    if (m_nDepth >= (strcmp(tag, kKeyTag) == 0 ? kDeepestKey : kDeepestValue))
        return Found::too_deep;
    CVurlNode* parent = m_pNode;
    CVurlNode* node = m_pDOM->AllocNode();
    if (node == nullptr)
        return Found::no_memory;
    CRegVurlIterator element(*this);
    element.m_pNode = node;
    node->pszTagName = m_pDOM->AllocTagName(tag);
    if (node->pszTagName == nullptr || element.SetAttribute(kNameAttribute, name) == nullptr) {
        m_pDOM->FreeAttributes(node);
        m_pDOM->FreeNode(node);
        return Found::no_memory;
    }
    if (before == nullptr) {
        InsertNode(node, VURL_FIRST_CHILD);
    } else {
        m_pNode = before;
        ++m_nDepth;
        InsertNode(node, VURL_NEXT_SIBLING);
    }
    child_inserted(parent, node);
    note_change();
    return Found::yes;
}

void CRegVurlIterator::Remove() {
    CVurlNode* node = m_pNode;
    child_removed(node->pParent, node);
    DeleteElement();
    m_pDOM->FreeNode(node);
    m_pNode = nullptr;
    note_change();
}

} // namespace kalto
