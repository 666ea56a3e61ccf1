// A document's text, handed over piece by piece: for a text that need not be in memory as a whole.
#ifndef KALTO_XML_TEXT_STREAM_H
#define KALTO_XML_TEXT_STREAM_H

#include <cstring>
#include <kalto/xml.h>

namespace kalto {

class TextReceiver {
  public:
    // Takes a piece, which is good only during the call. False to be given no more.
    virtual bool take(const char* text, size_t length) = 0;

  protected:
    ~TextReceiver() = default;
};

constexpr size_t kLeastWindow = 1024;

// Hands over the text that CVurlDOM::WriteDoc() would generate, in pieces that are put together in the window
// (at least kLeastWindow bytes). False when a piece was refused or the document has no root.
bool stream_text(CVurlDOM* dom, TextReceiver& receiver, char* window, size_t size);

// The window while it is in use. Its user keeps the cursor.
class TextWindow {
  public:
    TextWindow(TextReceiver& receiver, char* begin, size_t size)
        : receiver_(receiver), begin_(begin), end_(begin + size) {}
    char* begin() const { return begin_; }
    char* end() const { return end_; }
    bool is_wanted() const { return wanted_; }
    // Hands on what stands before the cursor. Returns the new cursor, at the beginning.
    [[gnu::noinline]] char* hand_on(const char* cursor) {
        wanted_ = wanted_ && receiver_.take(begin_, static_cast<size_t>(cursor - begin_));
        return begin_;
    }
    // Adds a text of any length. Returns the new cursor.
    [[gnu::noinline]] char* put(char* cursor, const char* text, size_t length) {
        for (;;) {
            const auto room = static_cast<size_t>(end_ - cursor);
            if (length <= room)
                break;
            std::memcpy(cursor, text, room);
            cursor = hand_on(end_);
            text += room;
            length -= room;
        }
        std::memcpy(cursor, text, length);
        return cursor + length;
    }

  private:
    TextReceiver& receiver_;
    bool wanted_ = true;
    char* begin_;
    char* end_;
};

} // namespace kalto

#endif
