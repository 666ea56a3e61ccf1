// Looking at a machine word of text at a time for the bytes that end a name, a text or a value.
//
// Each test flags bytes of a word by their high bit. Only the first flag counts: borrows of the subtraction
// may flag bytes behind it.
#ifndef KALTO_XML_WORD_SCAN_H
#define KALTO_XML_WORD_SCAN_H

#include <cstdint>
#include <cstring>

// For the pieces of a loop that every byte passes through: inlined, their cursor stays in a register. As
// members of a structure in memory, it would be loaded and stored again at each piece.
#define KALTO_HOT [[gnu::always_inline]] inline

namespace kalto {

using Word = std::uintptr_t;

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is a word's lowest");

constexpr Word kWordOnes = ~Word{0} / 0xFF;
constexpr Word kWordHighs = kWordOnes * 0x80;

constexpr Word in_each_byte(unsigned char byte) {
    return kWordOnes * byte;
}

inline Word load_word(const char* p) {
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// How many bytes stand before the first flag; there must be one.
inline unsigned first_flag(Word flags) {
    return static_cast<unsigned>(sizeof(Word) == 8 ? __builtin_ctzll(flags)
                                                   : __builtin_ctzl(static_cast<unsigned long>(flags))) /
           8;
}

// The same for two words that follow each other, of which one at least is flagged.
inline unsigned first_flag(Word first, Word second) {
    return (first != 0 ? 0u : static_cast<unsigned>(sizeof(Word))) + first_flag(first != 0 ? first : second);
}

// Bytes below the limit (at most 0x80).
constexpr Word flag_below(Word word, unsigned char limit) {
    return (word - in_each_byte(limit)) & ~word & kWordHighs;
}

constexpr Word flag_zero(Word word) {
    return flag_below(word, 1);
}

// "<", "&" and the zero byte.
constexpr Word flag_text_end(Word word) {
    return flag_zero(word ^ in_each_byte('<')) | flag_zero(word ^ in_each_byte('&')) | flag_zero(word);
}

// The byte that a word is full of, "&" and the zero byte.
constexpr Word flag_stop(Word word, Word stops) {
    return flag_zero(word ^ stops) | flag_zero(word ^ in_each_byte('&')) | flag_zero(word);
}

// The quote, "&" and the zero byte. Each quote differs from "&" in one bit, which is set in both before they
// are compared.
template <char quote> constexpr Word flag_value_end(Word word) {
    constexpr unsigned char kBoth = quote | '&';
    constexpr unsigned char kDifference = quote ^ '&';
    static_assert((kDifference & (kDifference - 1)) == 0, "one bit");
    return flag_zero((word | in_each_byte(kDifference)) ^ in_each_byte(kBoth)) | flag_zero(word);
}

// The characters that the writer replaces, the zero byte, and "#": the quotes and "&" are told from others
// without their two low bits that differ, which "#" has in common.
constexpr Word flag_markup(Word word) {
    return flag_zero((word | in_each_byte(0x05)) ^ in_each_byte('\'')) |
           flag_zero((word | in_each_byte(0x02)) ^ in_each_byte('>')) | flag_zero(word);
}

} // namespace kalto

#endif
