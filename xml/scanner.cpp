// Scanning names and texts in place.
#include "xml/scanner.h"
#include "xml/word_scan.h"
#include <cstdint>
#include <cstring>
#include <kalto/xml.h>

namespace {

using kalto::Word;

// An entity as the first bytes of a pair of words, so that one comparison finds it.
struct Entity {
    std::uint64_t text = 1; // no entity: nothing equals it under the mask
    std::uint64_t mask = 0;
    unsigned char length = 0;
    char byte = 0;
};

// The entities, each at a place that its second and third byte give.
class Entities {
  public:
    constexpr Entities() {
        add("&amp;", '&');
        add("&lt;", '<');
        add("&gt;", '>');
        add("&quot;", '"');
        add("&apos;", '\'');
    }
    // The only one that may stand at p, where eight bytes can be read.
    const Entity& candidate(const char* p) const { return entries_[place(p[1], p[2])]; }

  private:
    static constexpr unsigned place(char second, char third) {
        return (static_cast<unsigned char>(second) ^ static_cast<unsigned char>(third)) & 15u;
    }
    constexpr void add(const char* text, char byte) {
        Entity& entity = entries_[place(text[1], text[2])];
        entity.text = 0;
        for (; text[entity.length] != '\0'; ++entity.length) {
            entity.text |= static_cast<std::uint64_t>(text[entity.length]) << (8 * entity.length);
            entity.mask |= std::uint64_t{0xFF} << (8 * entity.length);
        }
        entity.byte = byte;
    }

    Entity entries_[16] = {};
};
constexpr Entities kEntities;

// The length of the entity at p, a "&", with the byte that it stands for; 0 when there is none.
unsigned entity_at(const char* p, const char* block_end, char* byte) {
    char copy[8] = {};
    if (block_end == nullptr || block_end - p < 8) {
        for (size_t i = 0; i + 1 < sizeof copy && p[i] != '\0'; ++i)
            copy[i] = p[i];
        p = copy;
    }
    const Entity& entity = kEntities.candidate(p);
    std::uint64_t text = 0;
    std::memcpy(&text, p, sizeof text);
    *byte = entity.byte;
    return ((text ^ entity.text) & entity.mask) == 0 ? entity.length : 0u;
}

// memmove to the left, for runs that are mostly a few words long.
void move_left(char* to, const char* from, size_t n) {
    if (n < sizeof(Word)) {
        for (size_t i = 0; i < n; ++i)
            to[i] = from[i];
        return;
    }
    const Word last = kalto::load_word(from + n - sizeof(Word)); // before a store reaches it
    for (size_t i = 0; i + sizeof(Word) <= n; i += sizeof(Word)) {
        const Word word = kalto::load_word(from + i);
        std::memcpy(to + i, &word, sizeof word);
    }
    std::memcpy(to + n - sizeof(Word), &last, sizeof last);
}

// Moves a run of text left, up to where the scan must look next: the stop byte, a "&", the zero byte, or
// where a pair of words no longer fits the block. Returns that place. Nothing is stored behind the run: where
// a "&" is not copied, the byte that stands there shows.
char* move_run(char* p, size_t moved, char stop, const char* block_end) {
    constexpr ptrdiff_t kPair = 2 * sizeof(Word);
    const Word stops = kalto::in_each_byte(static_cast<unsigned char>(stop));
    const bool apart = moved >= static_cast<size_t>(kPair);
    char* run = p;
    for (; block_end - p >= kPair; p += kPair) {
        Word words[2];
        std::memcpy(words, p, sizeof words);
        const Word first = kalto::flag_stop(words[0], stops);
        const Word second = kalto::flag_stop(words[1], stops);
        if ((first | second) != 0) {
            p += kalto::first_flag(first, second);
            break;
        }
        if (apart) {
            std::memcpy(p - moved, words, sizeof words);
            run = p + kPair;
        }
    }
    if (moved != 0)
        move_left(run - moved, run, static_cast<size_t>(p - run));
    return p;
}

} // namespace

namespace kalto {

signed char scan_text(char** pos, char stop, size_t* shift, const char* block_end) {
    char* p = *pos;
    size_t moved = *shift;
    for (;; ++p) {
        if (block_end != nullptr)
            p = move_run(p, moved, stop, block_end);
        if (*p == '\0' || *p == stop)
            break;
        if (*p != '&') {
            p[-static_cast<ptrdiff_t>(moved)] = *p;
            continue;
        }
        // Deliberate: after an entity of this run, a "&" that begins none is not copied, so that files
        // written by older devices read as they always did.
        char byte = 0;
        if (const unsigned length = entity_at(p, block_end, &byte)) {
            p[-static_cast<ptrdiff_t>(moved)] = byte;
            moved += length - 1;
            p += length - 1;
        } else if (moved == *shift) {
            p[-static_cast<ptrdiff_t>(moved)] = '&';
        }
    }
    *shift = moved;
    const auto stopped = static_cast<signed char>(*p);
    if (stopped != 0) {
        p[-static_cast<ptrdiff_t>(moved)] = '\0';
        ++p;
    }
    *pos = p;
    return stopped;
}

} // namespace kalto

signed char CVurlDOM::ParseXMLToken(char** pos) {
    while (!kalto::ends_name(**pos))
        ++*pos;
    return kalto::end_name(pos);
}

signed char CVurlDOM::ParseXMLData(char** pos, char stop) {
    size_t shift = 0;
    return kalto::scan_text(pos, stop, &shift, nullptr);
}
