// The step in front of the C library's formatted output: the conventions of Windows put into those of the C
// library.
#ifndef KALTO_TEXT_FORMAT_H
#define KALTO_TEXT_FORMAT_H

#include <cstddef>

namespace kalto {

// Units, terminator included, that hold any rewritten form of a format of that length: a conversion grows by
// at most one character and is two long.
constexpr size_t rewritten_size(size_t format_length) {
    return 2 * format_length + 1;
}

// Writes the C library's form of the format to rewritten, which holds rewritten_size units. A format that
// ends inside a conversion is passed on as it is.
void rewrite_format(const char* format, char* rewritten);
void rewrite_format(const wchar_t* format, wchar_t* rewritten);

} // namespace kalto

#endif
