// Conversions of whole texts between the wide form and the encoding of the current locale, for the other
// folders.
#ifndef KALTO_TEXT_CONVERT_H
#define KALTO_TEXT_CONVERT_H

#include <string>

namespace kalto {

// Each converts the whole text, whatever its length: nothing is ever cut. False when the text cannot be
// expressed in the target form (errno is EILSEQ) or memory is out (ENOMEM); out is then empty. A null text
// counts as an empty one. A surrogate pair, which text from 16-bit systems brings along in two characters,
// becomes the one character that it stands for; a surrogate alone cannot be expressed. Never throws. Safe to
// call from any thread as long as no thread changes the locale.
bool to_narrow(const wchar_t* wide, std::string& out);
bool to_wide(const char* narrow, std::wstring& out);

// Converts the text as to_wide does and copies of the result what fits `room` characters to out, which need
// not be aligned; what is left of the room is zeroed. False, with nothing written, when to_wide fails.
bool widen_into(const char* narrow, void* out, size_t room);

// to_narrow with every backslash turned into a slash: what the system gets to see of a path. The turning is
// done on the wide text, because in some encodings a byte of another character looks like a backslash.
bool to_path(const wchar_t* wide, std::string& out);

// Writes what mywcstombs writes within limit bytes, but no terminator, and returns its length: whole
// characters up to the first that does not fit or that the locale cannot express.
size_t narrow_limited(const wchar_t* wide, char* out, size_t limit);

} // namespace kalto

#endif
