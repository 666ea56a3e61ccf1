// Looking at a text without building its tree.
#ifndef KALTO_XML_WELL_FORMED_H
#define KALTO_XML_WELL_FORMED_H

#include <kalto/xml.h>

namespace kalto {

// What CVurlDOM::CreateDocBuffer(n) does, without setting room aside for the records of a tree.
char* create_text_buffer(CVurlDOM* dom, unsigned n);

// Whether CVurlDOM::ReadDoc() would parse what stands in the document's buffer, with the memory of the open
// elements instead of that of the tree. The buffer is changed as by ReadDoc(), the fields of a failure are
// set as there, and the document stays without a root.
bool is_well_formed(CVurlDOM* dom);

} // namespace kalto

#endif
