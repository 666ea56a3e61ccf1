// What the parser tries first, because it is nearly always right.
#ifndef KALTO_XML_PARSER_GUESSES_H
#define KALTO_XML_PARSER_GUESSES_H

#include "xml/scanner.h"
#include <cstdint>
#include <cstring>

namespace kalto {

// A short text and the "<" behind it, to be recognised when it comes again.
struct Gap {
    std::uint64_t bytes[2] = {'<', 0};
    std::uint64_t mask[2] = {0xFF, 0};
    size_t length = 1;

    bool stands_at(const char* p) const {
        std::uint64_t there[2];
        std::memcpy(there, p, sizeof there);
        return (((there[0] ^ bytes[0]) & mask[0]) | ((there[1] ^ bytes[1]) & mask[1])) == 0;
    }
    void remember(const char* p, size_t n) {
        std::memcpy(bytes, p, sizeof bytes);
        length = n;
        mask[0] = n >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * n)) - 1;
        mask[1] = n <= 8 ? 0 : n == 16 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * (n - 8))) - 1;
    }
};

struct NameEnds {
    bool ends[256] = {};
    constexpr NameEnds() {
        for (unsigned byte = 0; byte < 256; ++byte)
            ends[byte] = ends_name(static_cast<char>(byte));
    }
    constexpr bool operator[](unsigned char byte) const { return ends[byte]; }
};
inline constexpr NameEnds kEndsName;

} // namespace kalto

#endif
