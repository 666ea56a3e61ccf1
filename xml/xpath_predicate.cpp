// The predicates. Deliberate: the unequal forms are not the opposites of the equal ones. [@a!='v'] wants some
// attribute, but not one named a; [b!='v'] wants a child named b, and none of them with that text.
// Applications use both as "has something else there".
#include "xml/xpath_predicate.h"

namespace kalto {
namespace {

bool same_text(const char* a, const char* b) {
    return *a == *b && strcmp(a, b) == 0;
}

// Whether a child of that name exists; with a text, one that has it.
bool has_child(const CVurlNode& element, const char* name, const char* text) {
    for (const CVurlNode* child = element.pFirstChild; child; child = child->pNextSibling) {
        if (same_name(child->pszTagName, name) &&
            (!text || (child->pszData && same_text(child->pszData, text))))
            return true;
    }
    return false;
}

bool has_attribute(const CVurlNode& element, const char* name, const char* value) {
    const CVurlAttribute* found = find_attribute(element, name, value);
    return found && (!value || found->pszValue);
}

} // namespace

CVurlAttribute* find_attribute(const CVurlNode& element, const char* name, const char* value) {
    for (CVurlAttribute* at = element.pFirstAttribute; at; at = at->pNext) {
        if (same_name(at->pszName, name) && (!value || !at->pszValue || same_text(at->pszValue, value)))
            return at;
    }
    return nullptr;
}

bool passes_equal(const CVurlNode& element, const XPathAction& predicate) {
    if (predicate.attributeName)
        return has_attribute(element, predicate.attributeName, predicate.value);
    return predicate.name && has_child(element, predicate.name, predicate.value);
}

bool passes_not_equal(const CVurlNode& element, const XPathAction& predicate) {
    if (predicate.name && predicate.value)
        return has_child(element, predicate.name, nullptr) &&
               !has_child(element, predicate.name, predicate.value);
    if (!element.pFirstAttribute)
        return false;
    return !predicate.attributeName || !predicate.value ||
           !has_attribute(element, predicate.attributeName, predicate.value);
}

} // namespace kalto
