// Paths of keys.
#ifndef KALTO_REGISTRY_KEY_PATH_H
#define KALTO_REGISTRY_KEY_PATH_H

#include "registry/registry_document.h"
#include <kalto/types.h>
#include <string>

namespace kalto {

constexpr size_t kLongestComponent = 255; // bytes

// Follows a path from a key to the key it names, creating what is missing if asked to. A null parent is the
// document's root and needs create. 0; 2 not found; 22 a component too long or a key too deep; 1016; 1018 the
// parent's element is gone. Nothing is created when the whole path cannot be.
LONG walk_path(HKEY parent, const char* path, bool create, CRegVurlIterator& out);
LONG walk_path(HKEY parent, const wchar_t* path, bool create, CRegVurlIterator& out);

// Whether the file gives a text back as it was: a complete CDATA section is written as it stands, and a
// double quote or an ampersand inside would not survive that.
bool survives_file(const char* text);

} // namespace kalto

#endif
