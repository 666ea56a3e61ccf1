// Reading, writing and removing values.
#include "registry/value.h"

#include "registry/key_path.h"
#include "registry/open_keys.h"
#include "registry/registry_call.h"
#include "registry/store.h"
#include "registry/value_text.h"
#include "text/convert.h"
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <string>

namespace kalto {
namespace {

constexpr char kUnnamed[] = "(default)";

bool value_name(LPCWSTR name, std::string& out) {
    if (name != nullptr && *name != L'\0')
        return to_narrow(name, out);
    out = kUnnamed; // short enough to need no memory
    return true;
}

// Moves the cursor from a key to one of its values.
LONG find_value(HKEY key, LPCWSTR name, CRegVurlIterator& value) {
    ResolvedKey resolved;
    const LONG error = resolve_key(key, resolved);
    if (error != ERROR_SUCCESS)
        return error;
    std::string narrow;
    if (!value_name(name, narrow))
        return ERROR_REGISTRY_IO_FAILED;
    value = resolved.cursor;
    return value.Find(kValueTag, narrow.c_str(), false) == Found::yes ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LONG query_value(HKEY key, LPCWSTR name, DWORD* type, BYTE* data, DWORD* size) {
    CRegVurlIterator value;
    const LONG error = find_value(key, name, value);
    return error == ERROR_SUCCESS ? decode_value(value.m_pNode, type, data, size) : error;
}

LONG delete_value(HKEY key, LPCWSTR name) {
    CRegVurlIterator value;
    const LONG error = find_value(key, name, value);
    if (error == ERROR_SUCCESS)
        value.Remove();
    return error;
}

LONG store_text(CRegVurlIterator& value, DWORD type, const std::string& text) {
    if (value.SetAttribute(kDataAttribute, text.c_str()) == nullptr)
        return ERROR_REGISTRY_IO_FAILED;
    note_value_write();
    // Both strings outlive every document.
    return value.SetAttribute(kTypeAttribute, type_name(type), false) != nullptr ? ERROR_SUCCESS
                                                                                 : ERROR_REGISTRY_IO_FAILED;
}

// A value whose data cannot be stored is created all the same, except where the text cannot be expressed:
// there, nothing changes.
LONG set_value(HKEY key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
    ResolvedKey resolved;
    const LONG error = resolve_key(key, resolved);
    if (error != ERROR_SUCCESS)
        return error;
    std::string narrow;
    std::string text;
    if (!value_name(name, narrow) || !survives_file(narrow.c_str()))
        return ERROR_REGISTRY_IO_FAILED;
    const LONG encoded = encode_value_text(type, data, size, text);
    if (encoded == ERROR_REGISTRY_IO_FAILED || !survives_file(text.c_str()))
        return ERROR_REGISTRY_IO_FAILED;
    CRegVurlIterator value(resolved.cursor);
    const Found found = value.Find(kValueTag, narrow.c_str(), true);
    if (found != Found::yes)
        return found == Found::too_deep ? ERROR_INVALID_PARAMETER : ERROR_REGISTRY_IO_FAILED;
    return encoded == ERROR_SUCCESS ? store_text(value, type, text) : encoded;
}

} // namespace

LONG decode_value(const CVurlNode* value, DWORD* type, BYTE* data, DWORD* size) {
    return decode_value_text(attribute_of(value, kTypeAttribute), attribute_of(value, kDataAttribute), type,
                             data, size);
}

} // namespace kalto

LONG RegQueryValueEx(HKEY hKey, LPCWSTR lpValueName, LPDWORD /*lpReserved*/, LPDWORD lpType, LPBYTE lpData,
                     LPDWORD lpcbData) {
    const kalto::RegistryCall call;
    return call.finish(kalto::query_value(hKey, lpValueName, lpType, lpData, lpcbData));
}

LONG RegSetValueEx(HKEY hKey, LPCWSTR lpValueName, DWORD /*Reserved*/, DWORD dwType, const BYTE* lpData,
                   DWORD cbData) {
    const kalto::RegistryCall call;
    return call.finish(kalto::set_value(hKey, lpValueName, dwType, lpData, cbData));
}

LONG RegDeleteValue(HKEY hKey, LPCWSTR lpValueName) {
    const kalto::RegistryCall call;
    return call.finish(kalto::delete_value(hKey, lpValueName));
}
