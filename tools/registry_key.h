// Keys and values of the registry, as the commands see them.
#ifndef KALTO_TOOLS_REGISTRY_KEY_H
#define KALTO_TOOLS_REGISTRY_KEY_H

#include "tools/kaltoreg.h"
#include <kalto/registry.h>

namespace kaltoreg {

// UTF-8 to wide and back. False when the text is not valid.
bool to_wide(const std::string& text, std::wstring& out);
std::string to_utf8(const std::wstring& text);

// A key's name: a root and the path below it.
struct KeyName {
    HKEY root = nullptr;
    std::wstring path; // without backslashes at its ends
    std::wstring full() const;
    std::wstring last() const; // component of the path
};

// Reads "HKLM\a\b"; false when it does not begin with a root.
bool parse_key(const std::wstring& text, KeyName& name);
// parse_key for an argument; says what is wrong.
bool key_argument(const std::string& argument, KeyName& name, const Streams& streams);

struct Value {
    std::wstring name; // "(default)" for the unnamed one
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

std::wstring string_of(const Value& value);
DWORD number_of(const Value& value);
void set_string(Value& value, const std::wstring& text);
void set_number(Value& value, DWORD number);
// The data as `set` takes it.
std::string data_text(const Value& value);
const char* type_text(DWORD type);

// An open key; closed when it goes out of scope.
class Key {
  public:
    Key() = default;
    ~Key() { close(); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    LONG open(const KeyName& name) { return RegOpenKeyEx(name.root, name.path.c_str(), 0, KEY_READ, &key_); }
    // *created (may be null): whether it was not there.
    LONG create(const KeyName& name, bool* created = nullptr);
    // Closes it. False when something was changed and could not be saved.
    bool close();
    HKEY get() const { return key_; }

    // As they are listed, whether a look-up finds them or not.
    LONG sub_keys(std::vector<std::wstring>& names) const;
    LONG values(std::vector<Value>& values) const;
    LONG value(const std::wstring& name, Value& out) const;
    LONG write(const Value& value);

  private:
    LONG value_at(DWORD index, std::vector<wchar_t>& name, Value& out) const;

    HKEY key_ = nullptr;
};

// The sub-keys of an open key that a path leads to. Names the others, which a hand-edited file may have:
// those without a name, and those that stand unsorted. kNo if there are any.
Status keys_below(const Key& key, const KeyName& name, std::vector<KeyName>& below, const Streams& streams);

// Whether the library has written the registry file since `before` was taken of g_stRegFileStats.
bool saved_since(const struct stat& before);

// Says why a call failed and gives the exit status.
Status report(LONG error, const std::wstring& what, const Streams& streams);
Status report_unsaved(const Streams& streams);

} // namespace kaltoreg

#endif
