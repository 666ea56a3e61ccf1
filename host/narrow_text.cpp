// See narrow_text.h. Backslashes are turned in the wide text, because in some encodings a byte of another
// character looks like one.
#include "host/narrow_text.h"

#include <cerrno>
#include <cstdlib>
#include <cwchar>

namespace kalto {

// A surrogate pair, which text from 16-bit systems brings along in two characters, is one character.
static bool is_pair(const wchar_t* text, size_t length) {
    return length >= 2 && text[0] >= 0xD800 && text[0] <= 0xDBFF && text[1] >= 0xDC00 && text[1] <= 0xDFFF;
}

// Converts into text, which has room for every character at its longest and for the end of the text.
static bool convert(const wchar_t* wide, size_t length, bool turn_backslashes, char* text) {
    mbstate_t state = {};
    for (size_t i = 0; i < length; i++) {
        wchar_t character = turn_backslashes && wide[i] == L'\\' ? L'/' : wide[i];
        if (character == L'\0') {
            errno = EINVAL;
            return false;
        }
        if (is_pair(wide + i, length - i)) {
            character = 0x10000 + ((wide[i] - 0xD800) << 10) + (wide[i + 1] - 0xDC00);
            i++;
        }
        size_t bytes = wcrtomb(text, character, &state);
        if (bytes == static_cast<size_t>(-1))
            return false;
        text += bytes;
    }
    return wcrtomb(text, L'\0', &state) != static_cast<size_t>(-1);
}

NarrowText::NarrowText(const wchar_t* wide, size_t length, Backslashes backslashes) {
    if (wide == nullptr) {
        errno = EINVAL;
        return;
    }
    text_ = static_cast<char*>(calloc(length + 2, MB_CUR_MAX));
    if (text_ == nullptr || convert(wide, length, backslashes == Backslashes::kTurned, text_))
        return;
    int error = errno;
    free(text_);
    text_ = nullptr;
    errno = error;
}

NarrowText::~NarrowText() {
    free(text_);
}

char* NarrowText::release() {
    char* text = text_;
    text_ = nullptr;
    return text;
}

NarrowPath::NarrowPath(const wchar_t* wide)
    : NarrowText(wide, wide != nullptr ? wcslen(wide) : 0, Backslashes::kTurned) {}

} // namespace kalto
