// The two scanners that the parser is made of, over text that ends in a zero byte.
#ifndef KALTO_XML_SCANNER_H
#define KALTO_XML_SCANNER_H

#include <cstddef>

namespace kalto {

inline bool is_blank(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 1 && byte <= 32;
}

// Deliberate: bytes from 0x80 up end a name (they are negative here), as existing files expect.
constexpr bool ends_name(char c) {
    return static_cast<signed char>(c) <= 32 || c == '>' || c == '/' || c == '=';
}

// Ends a name with a zero byte at *p, one of the bytes that end names; returns that byte, or the first
// non-blank byte after it, which is where *p is left.
inline signed char end_name(char** p) {
    char stopped = **p;
    **p = '\0';
    if (is_blank(stopped)) {
        do
            ++*p;
        while (is_blank(**p));
        stopped = **p;
    }
    return static_cast<signed char>(stopped);
}

// Ends the text at *pos with a zero byte in place of the stop byte and decodes entities on the way. *shift is
// how far the text has moved left so far: the caller starts with 0, or goes on with what an earlier part of
// the same text left. Bytes up to block_end may be read, whatever they hold (null: none behind the zero
// byte). Leaves *pos behind the stop byte, or at the zero byte that ended the text (result 0).
signed char scan_text(char** pos, char stop, size_t* shift, const char* block_end);

} // namespace kalto

#endif
