// Scanning names and texts in place.
#include "xml/scanner.h"
#include "xml/chunk.h"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <kalto/xml.h>

namespace {

using kalto::Chunk;
using kalto::kBlockSize;
using kalto::Word;

// An entity as the first bytes of a pair of words, so that one comparison finds it.
struct Entity {
    std::uint64_t text = 1; // no entity: none begins with this byte
    std::uint64_t mask = 0xFF;
    unsigned char length = 0;
    char byte = 0;

    // Looks at eight bytes.
    bool stands_at(const char* p) const {
        std::uint64_t there = 0;
        std::memcpy(&there, p, sizeof there);
        return ((there ^ text) & mask) == 0;
    }
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
        entity.text = entity.mask = 0;
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
    *byte = entity.byte;
    return entity.stands_at(p) ? entity.length : 0u;
}

// Stores what has been decoded of the text between p and next, and nothing behind it: where a "&" is not
// copied later, the byte that stands there shows.
inline void store_decoded(char* p, const char* next, const char* decoded, size_t length, size_t* moved) {
    std::memcpy(p - *moved, decoded, length);
    *moved += static_cast<size_t>(next - p) - length;
}

// Moves text left and decodes its entities, a block at a time: all entities of a block are found before the
// first is looked at, and the decoded text is put together elsewhere, so that nothing waits for a store.
// Stops at the stop byte, the zero byte, a "&" that begins no entity, or where blocks no longer fit the
// memory up to block_end. Returns that place.
char* decode_blocks(char* p, char stop, const char* block_end, size_t* moved) {
    const auto stops = [stop](Chunk chunk) {
        return chunk.equal(stop) | chunk.equal('&') | chunk.equal('\0');
    };
    while (block_end - p >= static_cast<ptrdiff_t>(3 * kBlockSize)) {
        char decoded[2 * kBlockSize];
        size_t length = 0;
        char* run = p; // what has not been copied yet
        const auto copy_to = [&](const char* end) {
            kalto::copy_run(decoded + length, run, static_cast<size_t>(end - run));
            length += static_cast<size_t>(end - run);
        };
        for (Word flags = kalto::flags_of_block(p, stops); flags != 0; flags &= flags - 1) {
            char* const found = p + kalto::lowest_bit(flags);
            copy_to(found);
            const Entity& entity = kEntities.candidate(found);
            if (!entity.stands_at(found)) {
                store_decoded(p, found, decoded, length, moved);
                return found;
            }
            decoded[length++] = entity.byte;
            run = found + entity.length;
        }
        char* const next = std::max(p + kBlockSize, run);
        copy_to(next);
        store_decoded(p, next, decoded, length, moved);
        p = next;
    }
    return p;
}

} // namespace

namespace kalto {

signed char scan_text(char** pos, char stop, size_t* shift, const char* block_end) {
    char* p = *pos;
    size_t moved = *shift;
    for (;; ++p) {
        if (block_end != nullptr)
            p = decode_blocks(p, stop, block_end, &moved);
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
