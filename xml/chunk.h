// A chunk: as many bytes of text as are looked at at once for those that end a name, a text or a value. That
// is sixteen where every processor of the architecture has vectors of that size, and two machine words
// elsewhere.
#ifndef KALTO_XML_CHUNK_H
#define KALTO_XML_CHUNK_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

// For the pieces of a loop that every byte passes through: inlined, their cursor stays in a register. As
// members of a structure in memory, it would be loaded and stored again at each piece.
#define KALTO_HOT [[gnu::always_inline]] inline

namespace kalto {

using Word = std::uintptr_t;

// The number of the lowest bit that is set; there must be one.
inline unsigned lowest_bit(Word word) {
    return static_cast<unsigned>(sizeof(Word) == 8 ? __builtin_ctzll(word)
                                                   : __builtin_ctzl(static_cast<unsigned long>(word)));
}

#ifdef __SSE2__

// Marks on some bytes of a chunk. The first is right. Behind it there may be marks that are wrong, on bytes
// that differ in the lowest bit from what was looked for, where the architecture has no better means.
class Flags {
  public:
    explicit Flags(__m128i bytes) : bytes_(bytes) {}
    bool any() const { return bits() != 0; }
    // A bit for each byte, the lowest for the first.
    unsigned bits() const { return static_cast<unsigned>(_mm_movemask_epi8(bytes_)); }
    // How many bytes stand before the first flag; there must be one.
    unsigned first() const { return static_cast<unsigned>(__builtin_ctz(bits())); }
    friend Flags operator|(Flags a, Flags b) { return Flags(_mm_or_si128(a.bytes_, b.bytes_)); }
    friend Flags operator&(Flags a, Flags b) { return Flags(_mm_and_si128(a.bytes_, b.bytes_)); }

  private:
    __m128i bytes_;
};

class Chunk {
  public:
    static constexpr size_t kSize = 16;
    explicit Chunk(const char* p) : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))) {}
    void store(char* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), bytes_); }
    Flags equal(char c) const { return Flags(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }
    // The bytes that equal c when these bits are set in them.
    Flags equal_with(char bits, char c) const {
        return Flags(_mm_cmpeq_epi8(_mm_or_si128(bytes_, _mm_set1_epi8(bits)), _mm_set1_epi8(c)));
    }

  private:
    __m128i bytes_;
};

#else

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is a word's lowest");

constexpr Word in_each_byte(unsigned char byte) {
    return ~Word{0} / 0xFF * byte;
}

// The marks are the high bits; borrows of a subtraction make the wrong ones.
class Flags {
  public:
    Flags(Word low, Word high) : low_(low), high_(high) {}
    bool any() const { return (low_ | high_) != 0; }
    // A bit for each byte, the lowest for the first.
    unsigned bits() const { return bits_of(low_) | bits_of(high_) << sizeof(Word); }
    // How many bytes stand before the first flag; there must be one.
    unsigned first() const {
        return low_ != 0 ? first_byte(low_) : static_cast<unsigned>(sizeof(Word)) + first_byte(high_);
    }
    friend Flags operator|(Flags a, Flags b) { return {a.low_ | b.low_, a.high_ | b.high_}; }
    friend Flags operator&(Flags a, Flags b) { return {a.low_ & b.low_, a.high_ & b.high_}; }

  private:
    static unsigned first_byte(Word flags) { return lowest_bit(flags) / 8; }
    static unsigned bits_of(Word flags) {
        // Brings the flag of byte i to bit i of the highest byte.
        constexpr auto kGather = static_cast<Word>(sizeof(Word) == 8 ? 0x0102040810204080 : 0x01020408);
        return static_cast<unsigned>(((flags >> 7) * kGather) >> (8 * (sizeof(Word) - 1))) &
               ((1u << sizeof(Word)) - 1);
    }
    Word low_;
    Word high_;
};

class Chunk {
  public:
    static constexpr size_t kSize = 2 * sizeof(Word);
    explicit Chunk(const char* p) { std::memcpy(words_, p, sizeof words_); }
    void store(char* p) const { std::memcpy(p, words_, sizeof words_); }
    Flags equal(char c) const { return equal_with('\0', c); }
    // The bytes that equal c when these bits are set in them.
    Flags equal_with(char bits, char c) const {
        const Word set = in_each_byte(static_cast<unsigned char>(bits));
        const Word wanted = in_each_byte(static_cast<unsigned char>(c));
        return {zero_bytes((words_[0] | set) ^ wanted), zero_bytes((words_[1] | set) ^ wanted)};
    }

  private:
    static constexpr Word zero_bytes(Word word) {
        return (word - in_each_byte(1)) & ~word & in_each_byte(0x80);
    }
    Word words_[2];
};

#endif

// A block: as many bytes as a word has bits, so that a word can hold a flag for each.
constexpr size_t kBlockSize = 8 * sizeof(Word);

// The flags that find(chunk) gives for each chunk of a block, the lowest for the first byte.
template <class Find> KALTO_HOT Word flags_of_block(const char* p, Find find) {
    Word flags = 0;
    for (size_t i = 0; i < kBlockSize; i += Chunk::kSize)
        flags |= Word{find(Chunk(p + i)).bits()} << i;
    return flags;
}

// Copies n bytes of at most a block, mostly less than half a block. Reads and writes up to a block in any
// case.
KALTO_HOT void copy_run(char* to, const char* from, size_t n) {
    std::memcpy(to, from, kBlockSize / 2);
    if (n > kBlockSize / 2)
        std::memcpy(to + kBlockSize / 2, from + kBlockSize / 2, kBlockSize / 2);
}

// Each quote differs from "&" in one bit, which is set in both before they are compared.
template <char quote> Flags value_end(Chunk chunk) {
    constexpr char kDifference = quote ^ '&';
    static_assert((kDifference & (kDifference - 1)) == 0, "one bit");
    return chunk.equal_with(kDifference, quote | '&') | chunk.equal('\0');
}

inline Flags text_end(Chunk chunk) {
    return chunk.equal('<') | chunk.equal('&') | chunk.equal('\0');
}

// The characters that the writer replaces, and at least "#": the quotes and "&" are told from others without
// their two low bits that differ, which "#" has in common.
inline Flags markup(Chunk chunk) {
    return chunk.equal_with(0x05, '\'') | chunk.equal_with(0x02, '>');
}

inline Flags markup_or_end(Chunk chunk) {
    return markup(chunk) | chunk.equal('\0');
}

} // namespace kalto

#endif
