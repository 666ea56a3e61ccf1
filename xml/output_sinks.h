// Where the pieces of a written document go: counted, copied to the document's buffer, or handed to whatever
// sink an application has selected. Each takes pieces (put), whole strings (string), and the part of a string
// up to the next character that is to be replaced (run), which returns the place of that character, of a "#",
// or of the end.
#ifndef KALTO_XML_OUTPUT_SINKS_H
#define KALTO_XML_OUTPUT_SINKS_H

#include "xml/records.h"
#include "xml/word_scan.h"
#include <climits>
#include <cstring>

namespace kalto {

constexpr size_t kPairSize = 2 * sizeof(Word);
constexpr char kMarkup[] = "&<>\"'#";

// The block in which most strings of a document lie. A pair of words may be read at a place in it, whatever
// stands behind the string; elsewhere strings are looked at byte by byte.
class StringBlock {
  public:
    explicit StringBlock(CVurlMemPool* pool) {
        for (unsigned size = 0; pool != nullptr; pool = pool->pNext) {
            if (pool->nSize < size)
                continue;
            size = pool->nSize;
            begin_ = reinterpret_cast<std::uintptr_t>(pool_data(pool));
            places_ = size < kPairSize ? 0 : size - kPairSize + 1;
        }
    }
    bool holds_pair(const char* p) const { return reinterpret_cast<std::uintptr_t>(p) - begin_ < places_; }

  private:
    std::uintptr_t begin_ = 0;
    std::uintptr_t places_ = 0;
};

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

struct ZeroFlags {
    static Word flags(Word word) { return flag_zero(word); }
    static size_t rest(const char* text) { return std::strlen(text); }
};

struct MarkupFlags {
    static Word flags(Word word) { return flag_markup(word); }
    static size_t rest(const char* text) { return std::strcspn(text, kMarkup); }
};

class Counter {
  public:
    explicit Counter(CVurlDOM* dom) : block_(dom->m_pStringPool) {}
    std::uint64_t size() const { return size_; }
    KALTO_HOT void put(const char* /*text*/, size_t length) { size_ += length; }
    KALTO_HOT void padded(const char* text, size_t length) { put(text, length); }
    void replacement(char c) { size_ += kReplacements.length(c); }
    KALTO_HOT void string(const char* text) { size_ += static_cast<size_t>(find<ZeroFlags>(text) - text); }
    KALTO_HOT const char* run(const char* text) {
        const char* end = find<MarkupFlags>(text);
        size_ += static_cast<size_t>(end - text);
        return end;
    }

  private:
    template <class Flags> KALTO_HOT const char* find(const char* text) const {
        for (; block_.holds_pair(text); text += kPairSize) {
            const Word first = Flags::flags(load_word(text));
            const Word second = Flags::flags(load_word(text + sizeof(Word)));
            if ((first | second) != 0)
                return text + first_flag(first, second);
        }
        return text + Flags::rest(text);
    }

    StringBlock block_;
    std::uint64_t size_ = 0;
};

class Copier {
  public:
    // A whole pair of words may be stored up to `end`, beyond what is written in the end; null: not at all.
    Copier(CVurlDOM* dom, char* end)
        : block_(dom->m_pStringPool), cursor_(dom->m_pOutputCursor), end_(end == nullptr ? cursor_ : end) {}
    char* cursor() const { return cursor_; }
    KALTO_HOT void put(const char* text, size_t length) {
        std::memcpy(cursor_, text, length);
        cursor_ += length;
    }
    KALTO_HOT void padded(const char* text, size_t length) {
        if (length > 16 || !has_room(16)) {
            put(text, length);
            return;
        }
        std::memcpy(cursor_, text, 16);
        cursor_ += length;
    }
    KALTO_HOT void replacement(char c) {
        if (has_room(sizeof(Replacements::Text))) {
            std::memcpy(cursor_, kReplacements.text(c), sizeof(Replacements::Text));
            cursor_ += kReplacements.length(c);
        } else {
            put(kReplacements.text(c), kReplacements.length(c));
        }
    }
    KALTO_HOT void string(const char* text) { copy<ZeroFlags>(text); }
    KALTO_HOT const char* run(const char* text) { return copy<MarkupFlags>(text); }

  private:
    bool has_room(ptrdiff_t size) const { return end_ - cursor_ >= size; }
    template <class Flags> KALTO_HOT const char* copy(const char* text) {
        while (block_.holds_pair(text) && has_room(kPairSize)) {
            Word words[2];
            std::memcpy(words, text, sizeof words);
            std::memcpy(cursor_, words, sizeof words);
            const Word first = Flags::flags(words[0]);
            const Word second = Flags::flags(words[1]);
            const size_t length = (first | second) != 0 ? first_flag(first, second) : kPairSize;
            cursor_ += length;
            text += length;
            if ((first | second) != 0)
                return text;
        }
        const size_t length = Flags::rest(text);
        put(text, length);
        return text + length;
    }

    StringBlock block_;
    char* cursor_;
    char* end_;
};

class Selected {
  public:
    explicit Selected(CVurlDOM* dom) : dom_(dom) {}
    void put(const char* text, size_t length) {
        for (; length > UINT_MAX; text += UINT_MAX, length -= UINT_MAX)
            dom_->Output(text, UINT_MAX);
        dom_->Output(text, static_cast<unsigned>(length));
    }
    KALTO_HOT void padded(const char* text, size_t length) { put(text, length); }
    void replacement(char c) { put(kReplacements.text(c), kReplacements.length(c)); }
    void string(const char* text) { put(text, std::strlen(text)); }
    const char* run(const char* text) {
        const size_t length = std::strcspn(text, kMarkup);
        if (length != 0)
            put(text, length);
        return text + length;
    }

  private:
    CVurlDOM* dom_;
};

} // namespace kalto

#endif
