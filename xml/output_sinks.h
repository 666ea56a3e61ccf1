// Where the pieces of a written document go: counted, copied to the document's buffer or to a window on the
// text, or handed to whatever sink an application has selected. Each takes pieces (put), whole strings
// (string), and strings in which characters are replaced (converted): those up to the end, or up to a "<!",
// which may begin a CDATA section and is left to the caller. converted returns the place where it stopped.
#ifndef KALTO_XML_OUTPUT_SINKS_H
#define KALTO_XML_OUTPUT_SINKS_H

#include "xml/replacements.h"
#include "xml/string_block.h"
#include "xml/text_stream.h"
#include <climits>
#include <cstdint>
#include <cstring>

namespace kalto {

// Both bytes are compared in one step: nobody can predict which of the replaced characters is a "<".
inline bool may_open_section(const char* text) {
    return std::memcmp(text, "<!", 2) == 0;
}

class Counter {
  public:
    explicit Counter(CVurlDOM* dom) : block_(dom->m_pStringPool) {}
    std::uint64_t size() const { return size_; }
    KALTO_HOT void put(const char* /*text*/, size_t length) { size_ += length; }
    KALTO_HOT void padded(const char* text, size_t length) { put(text, length); }
    KALTO_HOT void string(const char* text) {
        for (; block_.holds_chunk(text); text += Chunk::kSize, size_ += Chunk::kSize) {
            const Flags end = Chunk(text).equal('\0');
            if (end.any()) {
                size_ += end.first();
                return;
            }
        }
        size_ += std::strlen(text);
    }
    KALTO_HOT const char* converted(const char* text) {
        for (; block_.holds_chunk(text); text += Chunk::kSize, size_ += Chunk::kSize) {
            const Flags flags = markup_or_end(Chunk(text));
            if (flags.any()) {
                size_ += flags.first();
                text += flags.first();
                break;
            }
        }
        if (*text == '\0')
            return text;
        Counter outside = *this; // so that this one has no address and can stay in registers
        text = outside.marked(text);
        *this = outside;
        return text;
    }

  private:
    // The rest of a text from a character on that is to be replaced.
    [[gnu::noinline]] const char* marked(const char* text) {
        while (block_.holds_chunk(text)) {
            const Chunk chunk(text);
            const Flags end = chunk.equal('\0');
            if ((end | (chunk.equal('<') & Chunk(text + 1).equal('!'))).any())
                break;
            size_ += Chunk::kSize + growth(text);
            text += Chunk::kSize;
        }
        for (; *text != '\0' && !may_open_section(text); ++text)
            size_ += kReplacements.length(*text);
        return text;
    }

    StringBlock block_;
    std::uint64_t size_ = 0;
};

// Where a copy goes when its whole length is known: there is room for the text, and up to `end` also for what
// is stored beyond what is written in the end (null: none).
class WholeText {
  public:
    WholeText(char* cursor, char* end) : end_(end == nullptr ? cursor : end) {}
    KALTO_HOT bool has_room(char*& cursor, ptrdiff_t size) const { return end_ - cursor >= size; }
    KALTO_HOT static void put(char*& cursor, const char* text, size_t length) {
        std::memcpy(cursor, text, length);
        cursor += length;
    }

  private:
    char* end_;
};

// Where it goes when it is handed on in pieces: there is always room, and the window moves for it.
class MovingWindow {
  public:
    explicit MovingWindow(TextWindow& window) : window_(&window), end_(window.end()) {}
    KALTO_HOT bool has_room(char*& cursor, ptrdiff_t size) const {
        if (end_ - cursor < size)
            cursor = window_->hand_on(cursor);
        return true;
    }
    KALTO_HOT void put(char*& cursor, const char* text, size_t length) const {
        if (static_cast<size_t>(end_ - cursor) < length) {
            cursor = window_->put(cursor, text, length);
            return;
        }
        std::memcpy(cursor, text, length);
        cursor += length;
    }

  private:
    TextWindow* window_;
    char* end_;
};

template <class Room> class CopierInto {
  public:
    CopierInto(CVurlDOM* dom, char* cursor, Room room)
        : block_(dom->m_pStringPool), cursor_(cursor), room_(room) {}
    char* cursor() const { return cursor_; }
    KALTO_HOT void put(const char* text, size_t length) { room_.put(cursor_, text, length); }
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
    KALTO_HOT void string(const char* text) {
        while (block_.holds_chunk(text) && has_room(Chunk::kSize)) {
            const Chunk chunk(text);
            chunk.store(cursor_);
            const Flags end = chunk.equal('\0');
            if (end.any()) {
                cursor_ += end.first();
                return;
            }
            cursor_ += Chunk::kSize;
            text += Chunk::kSize;
        }
        put(text, std::strlen(text));
    }
    KALTO_HOT const char* converted(const char* text) {
        while (block_.holds_chunk(text) && has_room(Chunk::kSize)) {
            const Chunk chunk(text);
            chunk.store(cursor_);
            const Flags flags = markup_or_end(chunk);
            if (flags.any()) {
                cursor_ += flags.first();
                text += flags.first();
                break;
            }
            cursor_ += Chunk::kSize;
            text += Chunk::kSize;
        }
        if (*text == '\0')
            return text;
        CopierInto outside = *this; // so that this one has no address and can stay in registers
        text = outside.marked(text);
        *this = outside;
        return text;
    }

  private:
    static constexpr ptrdiff_t kRoomForBlock = (sizeof "&quot;" + 1) * kBlockSize;
    static_assert(kRoomForBlock <= kLeastWindow);

    // The rest of a text from a character on that is to be replaced. Others are likely to follow, at places
    // that nobody can predict: all those of a block are found before the first is replaced.
    [[gnu::noinline]] const char* marked(const char* text) {
        while (block_.holds_blocks(text) && has_room(kRoomForBlock)) {
            const char* const begin = text;
            const Word ends = flags_of_block(begin, [](Chunk chunk) { return chunk.equal('\0'); });
            Word flags = flags_of_block(begin, markup) & ((ends & (Word{0} - ends)) - 1);
            for (; flags != 0; flags &= flags - 1) {
                const char* const found = begin + lowest_bit(flags);
                copy_to(text, found);
                if (may_open_section(found))
                    return found;
                replacement(*found);
                text = found + 1;
            }
            const char* const end = begin + (ends == 0 ? kBlockSize : lowest_bit(ends));
            copy_to(text, end);
            text = end;
            if (ends != 0)
                return text;
        }
        for (; *text != '\0' && !may_open_section(text); ++text)
            replacement(*text);
        return text;
    }
    KALTO_HOT void copy_to(const char* text, const char* end) {
        copy_run(cursor_, text, static_cast<size_t>(end - text));
        cursor_ += end - text;
    }
    KALTO_HOT bool has_room(ptrdiff_t size) { return room_.has_room(cursor_, size); }

    StringBlock block_;
    char* cursor_;
    Room room_;
};
using Copier = CopierInto<WholeText>;
using Streamer = CopierInto<MovingWindow>;

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
    const char* converted(const char* text) {
        for (;;) {
            const size_t length = std::strcspn(text, "&<>\"'");
            if (length != 0)
                put(text, length);
            text += length;
            if (*text == '\0' || may_open_section(text))
                return text;
            replacement(*text++);
        }
    }

  private:
    CVurlDOM* dom_;
};

} // namespace kalto

#endif
