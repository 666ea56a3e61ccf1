// Finding a module under its Windows-style name.
#ifndef KALTO_FS_MODULE_H
#define KALTO_FS_MODULE_H

#include <string>

namespace kalto {

// The system's name to try when a module is not found under its own name (a path with slashes): "lib" before
// the base name, ".so" in place of ".dll". False when memory is out.
bool shared_object_name(const std::string& name, std::string& out);

// Cuts the ending off, if the first occurrence of it in the text is there. True when the ending occurs at
// all.
bool cut_ending(std::string& text, const char* ending);

} // namespace kalto

#endif
