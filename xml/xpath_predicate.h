// The tests that a predicate or an @name step makes on one element.
#ifndef KALTO_XML_XPATH_PREDICATE_H
#define KALTO_XML_XPATH_PREDICATE_H

#include <kalto/xml.h>
#include <kalto/xpath.h>

namespace kalto {

// For names, which are short and mostly differ early.
inline bool same_name(const char* a, const char* b) {
    for (; *a == *b; ++a, ++b) {
        if (*a == '\0')
            return true;
    }
    return false;
}

// The first attribute of that name; with a value, the first that has it as well (or that has none at all).
CVurlAttribute* find_attribute(const CVurlNode& element, const char* name, const char* value);

// [@a], [@a='v'], [b] and [b='v'].
bool passes_equal(const CVurlNode& element, const XPathAction& predicate);
// [@a!='v'] and [b!='v'].
bool passes_not_equal(const CVurlNode& element, const XPathAction& predicate);

} // namespace kalto

#endif
