// Scanning names and texts in place.
#include "xml/scanner.h"
#include <cstring>
#include <kalto/xml.h>

namespace {

struct Entity {
    char text[8];
    unsigned char length;
    char byte;
};

constexpr Entity kEntities[] = {
    {"&amp;", 5, '&'}, {"&lt;", 4, '<'}, {"&gt;", 4, '>'}, {"&quot;", 6, '"'}, {"&apos;", 6, '\''}};

const Entity* entity_at(const char* p) {
    for (const Entity& entity : kEntities) {
        if (std::strncmp(p, entity.text, entity.length) == 0)
            return &entity;
    }
    return nullptr;
}

// Deliberate: bytes from 0x80 up end a name (they are negative here), as existing files expect.
bool ends_name(char c) {
    return static_cast<signed char>(c) <= 32 || c == '>' || c == '/' || c == '=';
}

} // namespace

namespace kalto {

signed char scan_name(char** pos) {
    char* p = *pos;
    while (!ends_name(*p))
        ++p;
    char stopped = *p;
    *p = '\0';
    if (is_blank(stopped)) {
        do
            ++p;
        while (is_blank(*p));
        stopped = *p;
    }
    *pos = p;
    return static_cast<signed char>(stopped);
}

signed char scan_text(char** pos, char stop, size_t* shift) {
    char* p = *pos;
    size_t moved = *shift;
    for (; *p != '\0' && *p != stop; ++p) {
        if (*p != '&') {
            if (moved != 0)
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
    return kalto::scan_name(pos);
}

signed char CVurlDOM::ParseXMLData(char** pos, char stop) {
    size_t shift = 0;
    return kalto::scan_text(pos, stop, &shift);
}
