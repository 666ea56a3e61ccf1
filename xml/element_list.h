// What the selection engine knows about its result list beyond the public interface.
#ifndef KALTO_XML_ELEMENT_LIST_H
#define KALTO_XML_ELEMENT_LIST_H

#include <kalto/xml.h>

namespace kalto {

// Adds a copy of it, whose element must not be in the list. False when memory runs out.
bool append(CVurlElementList* list, const CVurlIterator& it);

} // namespace kalto

#endif
