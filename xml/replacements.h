// What the writer puts in place of characters.
#ifndef KALTO_XML_REPLACEMENTS_H
#define KALTO_XML_REPLACEMENTS_H

#include "xml/chunk.h"

namespace kalto {

// What stands for each character in a text: an entity, or the character itself.
class Replacements {
  public:
    constexpr Replacements() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            text_[byte][0] = static_cast<char>(byte);
            length_[byte] = 1;
        }
        set('&', "&amp;");
        set('<', "&lt;");
        set('>', "&gt;");
        set('"', "&quot;");
        set('\'', "&apos;");
    }
    using Text = char[8];
    const Text& text(char c) const { return text_[static_cast<unsigned char>(c)]; }
    size_t length(char c) const { return length_[static_cast<unsigned char>(c)]; }

  private:
    constexpr void set(unsigned char c, const char* text) {
        for (length_[c] = 0; text[length_[c]] != '\0'; ++length_[c])
            text_[c][length_[c]] = text[length_[c]];
    }
    Text text_[256] = {};
    unsigned char length_[256] = {};
};
inline constexpr Replacements kReplacements;

// How much longer the replacements make the chunk at p.
inline size_t growth(const char* p) {
#ifdef __SSE2__
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const auto more = [bytes](char c, char by) {
        return _mm_and_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)), _mm_set1_epi8(by));
    };
    const __m128i each = _mm_or_si128(_mm_or_si128(more('&', 4), _mm_or_si128(more('<', 3), more('>', 3))),
                                      _mm_or_si128(more('"', 5), more('\'', 5)));
    const __m128i sums = _mm_sad_epu8(each, _mm_setzero_si128());
    return static_cast<size_t>(_mm_cvtsi128_si32(sums)) +
           static_cast<size_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums)));
#else
    size_t more = 0;
    for (size_t i = 0; i < Chunk::kSize; ++i)
        more += kReplacements.length(p[i]) - 1;
    return more;
#endif
}

} // namespace kalto

#endif
