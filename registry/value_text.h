// The data of a value as text in the registry file.
#ifndef KALTO_REGISTRY_VALUE_TEXT_H
#define KALTO_REGISTRY_VALUE_TEXT_H

#include <kalto/types.h>
#include <string>

namespace kalto {

// Decodes a value's text into the caller's buffer as RegQueryValueEx describes it. type_text and text may be
// null; so may type, data and size. 0; 90 does not fit; 1016 the text is not of the locale's encoding
// (nothing is written then).
LONG decode_value_text(const char* type_text, const char* text, DWORD* type, BYTE* data, DWORD* size);

// Encodes data as text. 0; 2 for a type that cannot be stored; 22 for a size or a null pointer that the type
// does not allow; 1016 when the text cannot be expressed or memory runs out.
LONG encode_value_text(DWORD type, const BYTE* data, DWORD size, std::string& text);

// "REG_SZ", ...; null for a type that cannot be stored. A static string.
const char* type_name(DWORD type);

} // namespace kalto

#endif
