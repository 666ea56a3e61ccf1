// The .reg text form.
#ifndef KALTO_TOOLS_REG_TEXT_H
#define KALTO_TOOLS_REG_TEXT_H

#include "tools/registry_key.h"

namespace kaltoreg {

// One thing that a .reg text asks for.
struct Change {
    enum Kind { kCreateKey, kDeleteKey, kSetValue, kDeleteValue } kind;
    KeyName key;
    Value value; // the name alone for kDeleteValue
    int line;
};

// Reads a whole text. False, with the line and what is wrong with it, when it is not understood.
struct Complaint {
    int line;
    std::string what;
};
bool parse_reg_text(const std::wstring& text, std::vector<Change>& changes, Complaint& complaint);

// The bytes of a file as text: UTF-8, with or without its mark, or UTF-16LE with its mark.
bool decode_file(const std::string& bytes, std::wstring& text);
std::string utf16_bytes(const std::wstring& text);
// False for a surrogate without its partner.
bool from_utf16_bytes(const std::string& bytes, std::wstring& text);

constexpr wchar_t kHeader[] = L"Windows Registry Editor Version 5.00";
constexpr wchar_t kOldHeader[] = L"REGEDIT4";
constexpr wchar_t kUnnamed[] = L"(default)";

} // namespace kaltoreg

#endif
