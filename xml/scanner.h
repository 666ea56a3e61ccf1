// The two scanners that the parser is made of, over text that ends in a zero byte.
#ifndef KALTO_XML_SCANNER_H
#define KALTO_XML_SCANNER_H

#include <cstddef>

namespace kalto {

inline bool is_blank(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 1 && byte <= 32;
}

// Ends the name at *pos with a zero byte; returns the byte that ended it, or the first non-blank byte after
// it, which is where *pos is left.
signed char scan_name(char** pos);

// Ends the text at *pos with a zero byte in place of the stop byte and decodes entities on the way. *shift is
// how far the text has moved left so far: the caller starts with 0, or goes on with what an earlier part of
// the same text left. Leaves *pos behind the stop byte, or at the zero byte that ended the text (result 0).
signed char scan_text(char** pos, char stop, size_t* shift);

} // namespace kalto

#endif
