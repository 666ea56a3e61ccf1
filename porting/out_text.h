// Handing a text out through a caller's buffer, as Windows does it.
#ifndef KALTO_PORTING_OUT_TEXT_H
#define KALTO_PORTING_OUT_TEXT_H

#include <kalto/types.h>
#include <string>

namespace kalto {

// Stores the text if it and its terminator fit, and returns its length; otherwise the room that is needed.
inline DWORD hand_out(const std::wstring& text, LPWSTR buffer, DWORD room) {
    const auto length = static_cast<DWORD>(text.size());
    if (buffer == nullptr || length >= room)
        return length + 1;
    wmemcpy(buffer, text.c_str(), text.size() + 1);
    return length;
}

} // namespace kalto

#endif
