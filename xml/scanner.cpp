// Scanning names and texts in place.
#include "xml/scanner.h"
#include "xml/word_scan.h"
#include <cstring>
#include <kalto/xml.h>

namespace {

using kalto::Word;

struct Entity {
    char text[8];
    unsigned char length;
    char byte;
};

constexpr Entity kEntities[] = {
    {"&amp;", 5, '&'}, {"&lt;", 4, '<'}, {"&gt;", 4, '>'}, {"&quot;", 6, '"'}, {"&apos;", 6, '\''}};

const Entity* entity_at(const char* p) {
    for (const Entity& entity : kEntities) {
        if (p[1] == entity.text[1] && std::strncmp(p, entity.text, entity.length) == 0)
            return &entity;
    }
    return nullptr;
}

// Moves bytes left until one at which the scan must look: the stop byte, "&" or the zero byte. Returns its
// place, or the place where whole words end.
char* move_words(char* p, size_t moved, char stop, const char* last_word) {
    const Word stops = kalto::in_each_byte(static_cast<unsigned char>(stop));
    for (; p <= last_word; p += sizeof(Word)) {
        const Word word = kalto::load_word(p);
        const Word flags = kalto::flag_zero(word ^ stops) |
                           kalto::flag_zero(word ^ kalto::in_each_byte('&')) | kalto::flag_zero(word);
        if (flags == 0) {
            std::memcpy(p - moved, &word, sizeof word); // behind what was read, also when the two overlap
            continue;
        }
        for (unsigned left = kalto::first_flag(flags); left > 0; --left, ++p)
            p[-static_cast<ptrdiff_t>(moved)] = *p;
        return p;
    }
    return p;
}

} // namespace

namespace kalto {

signed char scan_text(char** pos, char stop, size_t* shift, const char* last_word) {
    char* p = *pos;
    size_t moved = *shift;
    for (;; ++p) {
        if (last_word != nullptr)
            p = move_words(p, moved, stop, last_word);
        if (*p == '\0' || *p == stop)
            break;
        if (*p != '&') {
            p[-static_cast<ptrdiff_t>(moved)] = *p;
            continue;
        }
        // Deliberate: after an entity of this run, a "&" that begins none is not copied, so that files
        // written by older devices read as they always did.
        if (const Entity* entity = entity_at(p)) {
            p[-static_cast<ptrdiff_t>(moved)] = entity->byte;
            moved += entity->length - 1u;
            p += entity->length - 1;
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
