// Values of a key.
#ifndef KALTO_REGISTRY_VALUE_H
#define KALTO_REGISTRY_VALUE_H

#include "registry/registry_document.h"
#include <kalto/types.h>

namespace kalto {

// The data of a value element into the caller's buffer, as RegQueryValueEx describes it.
LONG decode_value(const CVurlNode* value, DWORD* type, BYTE* data, DWORD* size);

} // namespace kalto

#endif
